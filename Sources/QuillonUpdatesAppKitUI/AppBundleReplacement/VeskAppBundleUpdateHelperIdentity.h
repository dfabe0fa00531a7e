#pragma once

#include <string_view>

namespace quillon {

/// What is fixed about the installer command.
struct VeskAppBundleUpdateHelperIdentity {
  VeskAppBundleUpdateHelperIdentity() = delete;

  /// The command's file name.
  static constexpr std::string_view executableName = "QuillonUpdateInstaller";
};

}  // namespace quillon
