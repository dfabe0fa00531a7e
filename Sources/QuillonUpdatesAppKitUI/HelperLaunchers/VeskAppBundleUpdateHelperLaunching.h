#pragma once

#include <functional>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRequest.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleInstallerLaunchProgress.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleReplacementLaunchResult.h"

namespace quillon {

/// Hears of a launch while it goes on. Each launcher says on which thread. Must not throw.
using VeskAppBundleInstallerLaunchProgressHandler = std::function<void(const VeskAppBundleInstallerLaunchProgress&)>;

/// Starts the installer for a request, whichever way.
class VeskAppBundleUpdateHelperLaunching {
 public:
  virtual ~VeskAppBundleUpdateHelperLaunching() = default;

  /// Returns when the installer has been started or cannot be. May wait for a dialog, so never on the main thread.
  /// Launches may run on several threads at once.
  [[nodiscard]] virtual VeskAppBundleReplacementLaunchResult launchReplacement(
      const VeskAppBundleReplacementRequest& request,
      const VeskAppBundleInstallerLaunchProgressHandler& progressHandler) noexcept = 0;
};

}  // namespace quillon
