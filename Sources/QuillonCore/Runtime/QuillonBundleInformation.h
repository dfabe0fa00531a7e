#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// An Info.plist larger than this is none that an application ships (bytes).
inline constexpr std::size_t kLargestBundleInformation = std::size_t{4} * 1024 * 1024;

/// The text of `key` in the file Contents/Info.plist of the bundle at `bundleURL`, such as "CFBundleIdentifier"; absent
/// when the file cannot be read or has no text there.
[[nodiscard]] std::optional<std::string> bundleInformationText(const QuillonFileManaging& fileManager,
                                                               const QuillonURL& bundleURL,
                                                               std::string_view key) noexcept;

}  // namespace quillon
