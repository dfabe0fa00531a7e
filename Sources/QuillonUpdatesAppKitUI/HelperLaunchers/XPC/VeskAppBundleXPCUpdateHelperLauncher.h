#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "QuillonCore/Contracts/QuillonTimerScheduling.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionMaking.h"

namespace quillon {

/// Has the host's launcher service start the installer.
///
/// Progress is reported on a thread of the connection, one event at a time, to a copy of the handler. Connections that
/// wait for their callbacks when they are let go report none after the launch has returned.
class VeskAppBundleXPCUpdateHelperLauncher final : public VeskAppBundleUpdateHelperLaunching {
 public:
  /// Timeouts in nanoseconds, for the time before and the time after the administrator dialog; 0 is no limit.
  VeskAppBundleXPCUpdateHelperLauncher(
      std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnectionMaking> connectionFactory, std::string serviceName,
      std::uint64_t preAuthorizationTimeoutNanoseconds, std::uint64_t postAuthorizationTimeoutNanoseconds,
      std::shared_ptr<QuillonTimerScheduling> timers);

  [[nodiscard]] VeskAppBundleReplacementLaunchResult launchReplacement(
      const VeskAppBundleReplacementRequest& request,
      const VeskAppBundleInstallerLaunchProgressHandler& progressHandler) noexcept override;

 private:
  const std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnectionMaking> connectionFactory_;
  const std::string serviceName_;
  const std::uint64_t preAuthorizationTimeoutNanoseconds_;
  const std::uint64_t postAuthorizationTimeoutNanoseconds_;
  const std::shared_ptr<QuillonTimerScheduling> timers_;
};

}  // namespace quillon
