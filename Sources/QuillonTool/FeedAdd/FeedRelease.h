#pragma once

#include <optional>
#include <string>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// What an application bundle says of itself that its update entry repeats.
struct FeedRelease {
  std::string version;
  std::string build;
  std::optional<std::string> minimumSystemVersion;
};

/// Reads the Info.plist of `bundle`. Throws QuillonError when there is no bundle, or it has no version or build.
[[nodiscard]] FeedRelease readFeedRelease(const QuillonURL& bundle, const QuillonFileManaging& fileManager);

}  // namespace quillon
