#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Larger files are no feeds (bytes).
inline constexpr std::size_t kLargestFeed = std::size_t{1} << 30;

/// The file that the operand `path` names. Throws QuillonToolUsageError for an empty path.
[[nodiscard]] QuillonURL feedFile(std::string_view path);

/// The bytes of the file. A symbolic link at its place is followed. Throws QuillonError with the file's path in its
/// text when it cannot be read or is larger than a feed.
[[nodiscard]] std::string bytesOfFeed(const QuillonURL& file, const QuillonFileManaging& fileManager);

}  // namespace quillon
