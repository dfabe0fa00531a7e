#pragma once

#include <cstddef>
#include <string>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"

namespace quillon {

/// Larger files are no feeds (bytes).
inline constexpr std::size_t kLargestFeed = std::size_t{1} << 30;

/// The bytes of the file. A symbolic link at its place is followed. Throws QuillonSystemError when it cannot be
/// read or is larger than a feed.
[[nodiscard]] std::string bytesOfFeed(const QuillonURL& file, const QuillonFileManaging& fileManager);

/// The feed in the file, read as bytesOfFeed() reads it. Throws QuillonError, also when the bytes are no feed.
[[nodiscard]] VeskUpdateFeed readFeedFile(const QuillonURL& file, const QuillonFileManaging& fileManager);

}  // namespace quillon
