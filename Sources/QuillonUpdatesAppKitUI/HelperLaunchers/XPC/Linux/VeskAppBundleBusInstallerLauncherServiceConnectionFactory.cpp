#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleBusInstallerLauncherServiceConnectionFactory.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <exception>
#include <string_view>
#include <utility>

#include "QuillonCore/Runtime/Linux/QuillonDetachedProcess.h"
#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonProcessEnvironment.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleBusInstallerLauncherServiceConnection.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleInstallerLauncherServiceListener.h"

namespace quillon {
namespace {

static_assert(kInstallerLauncherServiceDescriptor == kDetachedProcessDescriptor);

struct Ends {
  FileDescriptor host;
  FileDescriptor service;
};

Ends makeEnds() {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw QuillonSystemError::posix(errno, "make", "a connection to the launcher service");
  }
  return {.host = FileDescriptor(ends[0]), .service = FileDescriptor(ends[1])};
}

bool isSingleComponent(std::string_view name) noexcept {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
         name.find('\0') == std::string_view::npos;
}

std::string executablePath(const QuillonURL& hostBundleURL, const std::string& serviceName) {
  return hostBundleURL.appendingPathComponent("Contents/XPCServices")
      .appendingPathComponent(serviceName + ".xpc")
      .appendingPathComponent("Contents/MacOS/QuillonUpdateInstallerLauncherService")
      .path();
}

}  // namespace

VeskAppBundleBusInstallerLauncherServiceConnectionFactory::VeskAppBundleBusInstallerLauncherServiceConnectionFactory(
    QuillonURL hostBundleURL)
    : hostBundleURL_(std::move(hostBundleURL)) {}

std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection>
VeskAppBundleBusInstallerLauncherServiceConnectionFactory::make(
    const std::string& serviceName, ErrorHandler errorHandler,
    VeskAppBundleInstallerLaunchProgressHandler progressHandler) noexcept {
  if (!isSingleComponent(serviceName)) return nullptr;
  try {
    Ends ends = makeEnds();
    // Before the service: what begins the handshake waits in the socket, so that one which ends at once cannot keep the
    // connection from being made, and its end is an error of the connection like any other.
    auto connection = std::make_shared<VeskAppBundleBusInstallerLauncherServiceConnection>(
        std::move(ends.host), std::move(errorHandler), std::move(progressHandler));
    startDetachedProcess(executablePath(hostBundleURL_, serviceName), {}, environmentForOwnPrivileges(), ends.service);
    return connection;
  } catch (const std::exception&) {
    // There is no service to talk to, for whatever reason: the answer says so.
    return nullptr;
  }
}

}  // namespace quillon
