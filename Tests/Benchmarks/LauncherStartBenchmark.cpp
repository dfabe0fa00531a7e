// From starting the launcher service to its first word, "handoffStarted", as a host hears it; beside it, starting
// /bin/true and waiting for its end.
//
// Prints the median and the best of 100 runs of each, and their ratio. The runs take turns, so that both meet the
// machine in the same state.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <variant>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusChannel.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleInstallerLauncherServiceListener.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/SocketPair.h"
#include "Support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;
using namespace quillon;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kRuns = 100;
using Times = std::array<double, kRuns>;  // milliseconds

[[noreturn]] void fail(const char* why) {
  std::fprintf(stderr, "%s\n", why);
  std::exit(1);
}

pid_t start(std::string path, const posix_spawn_file_actions_t* actions) {
  std::array<char*, 2> arguments = {path.data(), nullptr};
  pid_t child = 0;
  if (posix_spawn(&child, path.c_str(), actions, nullptr, arguments.data(), environ) != 0) fail("cannot start");
  return child;
}

double millisecondsSince(Clock::time_point begin) {
  return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

double millisecondsToHandoff(const fs::path& service) {
  const auto begin = Clock::now();
  testing::SocketPair sockets = testing::makeSocketPair();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, sockets.service.get(), kInstallerLauncherServiceDescriptor);
  const pid_t child = start(service.string(), &actions);
  posix_spawn_file_actions_destroy(&actions);
  sockets.service.reset();
  double time = 0;
  {
    LauncherBusChannel channel(std::move(sockets.host), LauncherBusEnd::host);
    // An empty request: it is refused, but not before the service has said that it has begun.
    if (!channel.call({})) fail("the request cannot be sent");
    const auto message = channel.next();
    time = millisecondsSince(begin);
    if (!message || !std::holds_alternative<LauncherBusProgress>(*message)) fail("the service did not begin");
  }
  waitpid(child, nullptr, 0);
  return time;
}

double millisecondsOfTrue() {
  const auto begin = Clock::now();
  waitpid(start("/bin/true", nullptr), nullptr, 0);
  return millisecondsSince(begin);
}

double median(Times& times) {
  std::sort(times.begin(), times.end());
  return times[kRuns / 2];
}

}  // namespace

int main() {
  const testing::TemporaryDirectory folder;
  testing::makeApplicationBundle(folder / "Example.app");
  const fs::path service = testing::addLauncherService(folder / "Example.app", QUILLON_BINARY_FOLDER);
  Times handoffs{};
  Times trues{};
  for (std::size_t run = 0; run < kRuns; ++run) {
    handoffs[run] = millisecondsToHandoff(service);
    trues[run] = millisecondsOfTrue();
  }
  const double handoff = median(handoffs);
  const double peer = median(trues);
  std::printf("launcher service start to handoffStarted: median %.2f ms, best %.2f ms\n", handoff, handoffs.front());
  std::printf("/bin/true start to end:                   median %.2f ms, best %.2f ms\n", peer, trues.front());
  std::printf("ratio of the medians: %.2f\n", handoff / peer);
  return 0;
}
