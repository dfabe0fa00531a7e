#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherProgressXPCProtocol.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherXPCProtocol.h"

namespace quillon {

class LauncherBusChannel;

/// Descriptor under which the launcher service finds the socket of its connection. Standard input, output and error are
/// /dev/null, and nothing else is open.
inline constexpr int kInstallerLauncherServiceDescriptor = 3;

/// Launches that may be under way at once on one connection; further ones are answered with a failure.
inline constexpr std::size_t kLargestInstallerLaunchCount = 8;

/// The launcher service's end of the connection to its host: D-Bus without a bus, over one socket.
///
/// The process has one connection; when the listener's work is done, so is the process's.
class VeskAppBundleInstallerLauncherServiceListener {
 public:
  /// Takes the host's socket. Throws QuillonSystemError, EACCES when the process that made the socket does not run as
  /// the real user of this one; root is no exception.
  explicit VeskAppBundleInstallerLauncherServiceListener(FileDescriptor socket);
  ~VeskAppBundleInstallerLauncherServiceListener();
  VeskAppBundleInstallerLauncherServiceListener(const VeskAppBundleInstallerLauncherServiceListener&) = delete;
  VeskAppBundleInstallerLauncherServiceListener& operator=(const VeskAppBundleInstallerLauncherServiceListener&) =
      delete;

  /// The process that made the socket: the host.
  [[nodiscard]] std::int32_t hostProcessIdentifier() const noexcept { return hostProcessIdentifier_; }

  /// Sends events to the host, from any thread and as long as somebody holds it. Does not wait for the host. An event
  /// sent before a reply arrives before it; once the host is gone, events vanish.
  [[nodiscard]] std::shared_ptr<VeskAppBundleInstallerLauncherProgressXPCProtocol> progressSender() const noexcept {
    return progressSender_;
  }

  /// Hands the host's requests to `service`, on this thread, one after the other. Returns when the host is gone and
  /// every launch has been answered; those answers vanish. Called once.
  ///
  /// A request whose dictionary cannot be read is handed over as an empty one. A reply may be given from any thread,
  /// also after `run` has returned; only the first one of a request is sent. A request whose reply is dropped without
  /// having been given is answered with a failure.
  void run(VeskAppBundleInstallerLauncherXPCProtocol& service);

 private:
  class OutstandingLaunches;
  class OneReply;

  void serve(VeskAppBundleInstallerLauncherXPCProtocol& service, std::uint64_t call,
             const QuillonPropertyListValue::Dictionary& message) const;

  std::int32_t hostProcessIdentifier_;
  std::shared_ptr<LauncherBusChannel> channel_;
  std::shared_ptr<VeskAppBundleInstallerLauncherProgressXPCProtocol> progressSender_;
  std::shared_ptr<OutstandingLaunches> launches_;
};

}  // namespace quillon
