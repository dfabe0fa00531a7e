// The promises of a connection to a launcher service, held by D-Bus over a socket.

#include <fcntl.h>
#include <sys/socket.h>

#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "Contracts/VeskAppBundleInstallerLauncherServiceConnectionContract.h"
#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleBusInstallerLauncherServiceConnection.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleInstallerLauncherServiceListener.h"
#include "Support/SocketPair.h"

namespace quillon {
namespace {

using testing::LauncherService;
using testing::LauncherServiceEnd;

/// A listener on a thread of its own.
class RunningListener {
 public:
  RunningListener(FileDescriptor socket, LauncherServiceEnd& end)
      : socket_(fcntl(socket.get(), F_DUPFD_CLOEXEC, 0)), listener_(std::move(socket)), thread_([this, &end] {
          const auto service = end.makeService(listener_.progressSender());
          listener_.run(*service);
        }) {}
  ~RunningListener() { crash(); }
  RunningListener(const RunningListener&) = delete;
  RunningListener& operator=(const RunningListener&) = delete;

  void crash() const { shutdown(socket_.get(), SHUT_RDWR); }

 private:
  const FileDescriptor socket_;
  VeskAppBundleInstallerLauncherServiceListener listener_;
  const std::jthread thread_;
};

LauncherService startOnSockets(LauncherServiceEnd& end) {
  const auto listeners = std::make_shared<std::vector<std::unique_ptr<RunningListener>>>();
  return {.connect =
              [listeners, &end](auto errorHandler, auto progressHandler) {
                auto sockets = testing::makeSocketPair();
                listeners->push_back(std::make_unique<RunningListener>(std::move(sockets.service), end));
                return std::make_shared<VeskAppBundleBusInstallerLauncherServiceConnection>(
                    std::move(sockets.host), std::move(errorHandler), std::move(progressHandler));
              },
          .crash =
              [listeners] {
                for (const auto& listener : *listeners) listener->crash();
              }};
}

INSTANTIATE_TEST_SUITE_P(Linux, VeskAppBundleInstallerLauncherServiceConnectionContract,
                         ::testing::Values(testing::LauncherServiceConnectionImplementation{"BusOverSockets",
                                                                                            startOnSockets}),
                         [](const auto& run) { return run.param.name; });

}  // namespace
}  // namespace quillon
