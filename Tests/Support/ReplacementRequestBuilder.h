#pragma once

#include <filesystem>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRequest.h"

namespace quillon::testing {

/// A request of `org.example.App` 1.0, build 1, of no team, to be replaced by a newer one. Without anything optional.
[[nodiscard]] VeskAppBundleReplacementRequest makeReplacementRequest(const std::filesystem::path& staged,
                                                                     const std::filesystem::path& installed);

}  // namespace quillon::testing
