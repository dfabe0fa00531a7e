#pragma once

#include <string_view>

namespace quillon {

/// Keys of the messages that report the progress of a launch.
struct VeskAppBundleXPCLaunchProgressKeys {
  static constexpr std::string_view event = "event";
  static constexpr std::string_view destinationParentIsWritable = "destinationParentIsWritable";
  static constexpr std::string_view canPreserveInstalledOwnership = "canPreserveInstalledOwnership";
  static constexpr std::string_view elapsedNanoseconds = "elapsedNanoseconds";
};

}  // namespace quillon
