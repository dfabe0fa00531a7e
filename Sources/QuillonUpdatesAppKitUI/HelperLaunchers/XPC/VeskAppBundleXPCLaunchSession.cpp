#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchSession.h"

#include <utility>

namespace quillon {

VeskAppBundleXPCLaunchSession::VeskAppBundleXPCLaunchSession(Completion completion)
    : completion_(std::move(completion)) {}

void VeskAppBundleXPCLaunchSession::setConnection(
    std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection> connection) {
  {
    const std::lock_guard guard(lock_);
    if (!didComplete_) {
      // What is replaced goes out of scope with the parameter, after the lock is released.
      connection_.swap(connection);
      return;
    }
  }
  if (connection) connection->invalidate();
}

void VeskAppBundleXPCLaunchSession::finish(const VeskAppBundleReplacementLaunchResult& result) {
  std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection> connection;
  {
    const std::lock_guard guard(lock_);
    if (std::exchange(didComplete_, true)) return;
    connection = std::exchange(connection_, nullptr);
  }
  if (connection) connection->invalidate();
  // Before the completion, so that whoever waits for it is the connection's last owner.
  connection.reset();
  completion_(result);
}

}  // namespace quillon
