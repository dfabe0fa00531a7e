// What the other end of a launcher connection may send. The first byte says which end is under test ('h' the host's,
// any other the service's) and whether the input begins with the handshake ('H', 'S') or follows a proper one ('h',
// 's'). Whatever arrives, both ends come to an end; what is handed on obeys the limits of the format, and each request
// that the service's end hands on is answered once.

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusChannel.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusDictionary.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleInstallerLauncherServiceListener.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"
#include "Support/SocketPair.h"

namespace {

using namespace quillon;
using Dictionary = QuillonPropertyListValue::Dictionary;

/// The answers to so much input find room in the socket: nobody reads them.
constexpr std::size_t kLargestInput = 8192;

void require(bool condition) {
  if (!condition) std::abort();
}

class Service final : public VeskAppBundleInstallerLauncherXPCProtocol {
 public:
  explicit Service(VeskAppBundleInstallerLauncherServiceListener& listener) : listener_(listener) {}

  void launchReplacement(const Dictionary& message, Reply reply) override {
    require(fitsLauncherBus(message));
    listener_.progressSender()->reportProgress(xpcDictionary(VeskAppBundleInstallerLaunchProgress::handoffStarted()));
    reply(xpcDictionary(VeskAppBundleReplacementLaunchResult::launched(), {}));
  }

 private:
  VeskAppBundleInstallerLauncherServiceListener& listener_;
};

std::string clientHandshake() {
  std::string user;
  for (const char digit : std::to_string(geteuid())) user.append("3").append(1, digit);
  return std::string(1, '\0') + "AUTH EXTERNAL " + user + "\r\nBEGIN\r\n";
}

std::string serverHandshake() {
  return "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nERROR\r\n";
}

/// Writes all there is to hear, then nothing more.
void say(const FileDescriptor& socket, std::string_view bytes) {
  require(write(socket.get(), bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
  shutdown(socket.get(), SHUT_WR);
}

void checkService(const std::string& bytes) {
  testing::SocketPair sockets = testing::makeSocketPair();
  VeskAppBundleInstallerLauncherServiceListener listener(std::move(sockets.service));
  say(sockets.host, bytes);
  Service service(listener);
  listener.run(service);
}

void checkHost(const std::string& bytes) {
  testing::SocketPair sockets = testing::makeSocketPair();
  LauncherBusChannel host(std::move(sockets.host), LauncherBusEnd::host);
  require(host.call({{"key", QuillonPropertyListValue("value")}}).has_value());
  say(sockets.service, bytes);
  while (const auto message = host.next()) {
    const auto* const reply = std::get_if<LauncherBusReply>(&*message);
    const auto* const progress = std::get_if<LauncherBusProgress>(&*message);
    require(reply != nullptr || progress != nullptr);
    if (reply != nullptr) require(fitsLauncherBus(reply->reply));
    if (progress != nullptr) require(fitsLauncherBus(progress->progress));
  }
  require(host.ending() != LauncherBusEnding::closed);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string bytes(reinterpret_cast<const char*>(data) + 1, std::min(size - 1, kLargestInput));
  switch (data[0]) {
    case 'h':
      checkHost(serverHandshake() + bytes);
      break;
    case 'H':
      checkHost(bytes);
      break;
    case 'S':
      checkService(bytes);
      break;
    default:
      checkService(clientHandshake() + bytes);
      break;
  }
  return 0;
}
