#pragma once

#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementLaunch.h"

namespace quillon {

/// Turns what a host sent into a complete launch.
class VeskAppBundleInstallerLauncherServiceLaunchResolving {
 public:
  virtual ~VeskAppBundleInstallerLauncherServiceLaunchResolving() = default;

  /// Throws VeskUpdateInstallerError: replacementHelperUnavailable when there is no installer, else
  /// replacementLaunchFailed, as a VeskAppBundleInstallerLauncherServiceRefusal where there is something to explain.
  /// May be called from any thread.
  [[nodiscard]] virtual VeskAppBundleXPCReplacementLaunch makeLaunch(
      const QuillonPropertyListValue::Dictionary& message) const = 0;
};

}  // namespace quillon
