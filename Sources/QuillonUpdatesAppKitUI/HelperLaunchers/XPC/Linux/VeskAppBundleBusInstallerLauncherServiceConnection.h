#pragma once

#include <memory>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/QuillonBackgroundThread.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnection.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionMaking.h"

namespace quillon {

/// A connection to a launcher service that listens at the other end of a socket: D-Bus without a bus.
///
/// One thread, from resume() on, receives and runs the callbacks. The error handler hears "interrupted" when a service
/// that had answered the handshake is gone, and "invalidated" when there was no handshake or what arrived is no D-Bus.
class VeskAppBundleBusInstallerLauncherServiceConnection final
    : public VeskAppBundleInstallerLauncherServiceConnection {
 public:
  /// Takes the host's end of the socket. Throws QuillonSystemError for what is no connected socket.
  VeskAppBundleBusInstallerLauncherServiceConnection(
      FileDescriptor socket, VeskAppBundleInstallerLauncherServiceConnectionMaking::ErrorHandler errorHandler,
      VeskAppBundleInstallerLaunchProgressHandler progressHandler);
  ~VeskAppBundleBusInstallerLauncherServiceConnection() override;
  VeskAppBundleBusInstallerLauncherServiceConnection(const VeskAppBundleBusInstallerLauncherServiceConnection&) =
      delete;
  VeskAppBundleBusInstallerLauncherServiceConnection& operator=(
      const VeskAppBundleBusInstallerLauncherServiceConnection&) = delete;

  void resume() noexcept override;
  [[nodiscard]] bool launchReplacement(const QuillonPropertyListValue::Dictionary& message,
                                       const std::function<void()>& didSubmitRequest, Reply reply) noexcept override;
  void invalidate() noexcept override;

 private:
  class Conversation;

  /// Shared with the thread, which may be left alone with it.
  const std::shared_ptr<Conversation> conversation_;
  std::unique_ptr<QuillonBackgroundThread> thread_;
};

}  // namespace quillon
