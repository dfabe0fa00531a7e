#pragma once

#include <memory>
#include <string>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnection.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionMaking.h"

namespace quillon {

/// An `NSXPCConnection` to a launcher service. Its callbacks run on the connection's own queue.
///
/// The system starts the service when the first request is sent, so a service that is missing shows as an error of the
/// connection.
class VeskAppBundleNSXPCInstallerLauncherServiceConnection final
    : public VeskAppBundleInstallerLauncherServiceConnection {
 public:
  /// `serviceName` is UTF-8.
  VeskAppBundleNSXPCInstallerLauncherServiceConnection(
      const std::string& serviceName, VeskAppBundleInstallerLauncherServiceConnectionMaking::ErrorHandler errorHandler,
      VeskAppBundleInstallerLaunchProgressHandler progressHandler);
  ~VeskAppBundleNSXPCInstallerLauncherServiceConnection() override;
  VeskAppBundleNSXPCInstallerLauncherServiceConnection(const VeskAppBundleNSXPCInstallerLauncherServiceConnection&) =
      delete;
  VeskAppBundleNSXPCInstallerLauncherServiceConnection& operator=(
      const VeskAppBundleNSXPCInstallerLauncherServiceConnection&) = delete;

  void resume() noexcept override;
  [[nodiscard]] bool launchReplacement(const QuillonPropertyListValue::Dictionary& message,
                                       const std::function<void()>& didSubmitRequest, Reply reply) noexcept override;
  void invalidate() noexcept override;

 private:
  struct System;

  /// Held by calls, because a callback may let this connection's last owner go.
  const std::shared_ptr<System> system_;
};

}  // namespace quillon
