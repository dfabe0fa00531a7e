// One launch on a connection that stands: the request with its 14 entries, three events, the reply. Beside it the same
// messages on a socket pair of the same kind with nothing but sd-bus, one thread at each end, every entry written and
// read. Both ends are in this process, which is bound to one processor.
//
// Prints the medians of runs that take turns, in processor time of the process, which other work on the machine changes
// little, and in elapsed time.

#include <sched.h>
#include <systemd/sd-bus.h>
#include <systemd/sd-id128.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <limits>
#include <memory>
#include <semaphore>
#include <thread>
#include <utility>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleBusInstallerLauncherServiceConnection.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleInstallerLauncherServiceListener.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessage.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"
#include "Support/SocketPair.h"

namespace {

using namespace quillon;
using Dictionary = QuillonPropertyListValue::Dictionary;
using Progress = VeskAppBundleInstallerLaunchProgress;
using Result = VeskAppBundleReplacementLaunchResult;

constexpr int kRuns = 15;
constexpr int kLaunches = 2000;
constexpr std::size_t kEntries = 14;
constexpr const char* kObject = "/io/quillon/UpdateInstallerLauncher";
constexpr const char* kInterface = "io.quillon.UpdateInstallerLauncher";

[[noreturn]] void fail(const char* text) {
  std::fprintf(stderr, "%s\n", text);
  std::exit(1);
}

void require(bool condition, const char* text) {
  if (!condition) fail(text);
}

VeskAppBundleReplacementRequest request() {
  return {.stagedApplicationURL = QuillonURL::fileURL("/home/user/.cache/example/staging/Example.app"),
          .installedApplicationURL = QuillonURL::fileURL("/opt/example/Example.app"),
          .helperExecutableURL = std::nullopt,
          .hostIdentity = VeskAppBundleUpdateHostIdentity{.bundleIdentifier = "org.example.App",
                                                          .applicationVersion = "1.2.3",
                                                          .applicationBuild = 1234,
                                                          .expectedTeamIdentifier = "ABCDE12345",
                                                          .allowsSameBuildReplacement = false},
          .shouldRequestAuthorizationIfNeeded = true,
          .launchUserContext =
              VeskAppBundleLaunchdUserContext{
                  .userIdentifier = 1000, .groupIdentifier = 1000, .userName = "user", .homeDirectory = "/home/user"},
          .failureReportURL = QuillonURL::fileURL("/home/user/.local/share/org.example.App/report.plist"),
          .failureReportAttemptIdentifier = "01234567-89AB-CDEF-0123-456789ABCDEF"};
}

std::vector<Progress> events() {
  return {Progress::handoffStarted(), Progress::authorizationRequired({}), Progress::jobSubmitted()};
}

/// Starts the installer in no time.
class FakeService final : public VeskAppBundleInstallerLauncherXPCProtocol {
 public:
  explicit FakeService(std::shared_ptr<VeskAppBundleInstallerLauncherProgressXPCProtocol> host)
      : host_(std::move(host)) {}

  void launchReplacement(const Dictionary& message, Reply reply) override {
    require(message.size() == kEntries, "the request lost entries");
    for (const Progress& event : events()) host_->reportProgress(xpcDictionary(event));
    reply(xpcDictionary(Result::launched(), {}));
  }

 private:
  const std::shared_ptr<VeskAppBundleInstallerLauncherProgressXPCProtocol> host_;
};

/// Our connection and our listener.
class OurConversation {
 public:
  OurConversation() {
    connection_->resume();
    launch();
  }
  ~OurConversation() { connection_.reset(); }
  OurConversation(const OurConversation&) = delete;
  OurConversation& operator=(const OurConversation&) = delete;

  void launch() {
    const bool didSend = connection_->launchReplacement(
        message_.propertyList(), [] {}, [this](const Result& result) { finish(result); });
    require(didSend, "the request could not be sent");
    finished_.acquire();
    require(eventCount_.exchange(0) == 3, "events are missing");
  }

 private:
  void finish(const Result& result) {
    require(result == Result::launched(), "the launch failed");
    finished_.release();
  }

  const VeskAppBundleXPCReplacementMessage message_{request()};
  std::binary_semaphore finished_{0};
  std::atomic<int> eventCount_ = 0;
  testing::SocketPair sockets_ = testing::makeSocketPair();
  VeskAppBundleInstallerLauncherServiceListener listener_{std::move(sockets_.service)};
  FakeService service_{listener_.progressSender()};
  std::jthread thread_{[this] { listener_.run(service_); }};
  std::shared_ptr<VeskAppBundleBusInstallerLauncherServiceConnection> connection_ =
      std::make_shared<VeskAppBundleBusInstallerLauncherServiceConnection>(
          std::move(sockets_.host), [](const QuillonSystemError& error) { fail(error.what()); },
          [this](const Progress& /*event*/) { ++eventCount_; });
};

/// One end of a conversation that is nothing but sd-bus.
class BareEnd {
 public:
  BareEnd(FileDescriptor socket, bool isServer) {
    const int descriptor = socket.release();
    require(sd_bus_new(&bus_) >= 0 && sd_bus_set_fd(bus_, descriptor, descriptor) >= 0, "no bus");
    sd_id128_t identifier{};
    require(sd_id128_randomize(&identifier) >= 0, "no identifier");
    if (isServer) require(sd_bus_set_server(bus_, 1, identifier) >= 0, "no server");
    require(sd_bus_start(bus_) >= 0, "no start");
  }
  ~BareEnd() { sd_bus_close_unref(bus_); }
  BareEnd(const BareEnd&) = delete;
  BareEnd& operator=(const BareEnd&) = delete;

  [[nodiscard]] sd_bus* bus() const { return bus_; }

  /// The next message, waited for; null when the other end is gone.
  [[nodiscard]] sd_bus_message* next() const {
    while (true) {
      sd_bus_message* message = nullptr;
      const int processed = sd_bus_process(bus_, &message);
      if (processed < 0 || sd_bus_is_open(bus_) <= 0) return nullptr;
      if (message != nullptr) return message;
      if (processed == 0) sd_bus_wait(bus_, std::numeric_limits<std::uint64_t>::max());
    }
  }

  /// Reads every entry; their number.
  static std::size_t readEntries(sd_bus_message* message) {
    std::size_t count = 0;
    require(sd_bus_message_enter_container(message, 'a', "{sv}") > 0, "no dictionary");
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
      const char* key = nullptr;
      const char* type = nullptr;
      std::int64_t storage = 0;
      require(sd_bus_message_read_basic(message, 's', &key) > 0, "no key");
      require(sd_bus_message_peek_type(message, nullptr, &type) > 0, "no value");
      require(sd_bus_message_enter_container(message, 'v', type) > 0, "no value");
      require(sd_bus_message_read_basic(message, *type, &storage) > 0, "no value");
      sd_bus_message_exit_container(message);
      sd_bus_message_exit_container(message);
      ++count;
    }
    return count;
  }

 private:
  sd_bus* bus_ = nullptr;
};

class BareConversation {
 public:
  BareConversation() { launch(); }
  ~BareConversation() { host_.reset(); }
  BareConversation(const BareConversation&) = delete;
  BareConversation& operator=(const BareConversation&) = delete;

  void launch() const {
    sd_bus_message* call = nullptr;
    require(sd_bus_message_new_method_call(host_->bus(), &call, nullptr, kObject, kInterface, "LaunchReplacement") >= 0,
            "no call");
    require(sd_bus_message_append(
                call, "a{sv}", 14, "stagedApplicationPath", "s", "/home/user/.cache/example/staging/Example.app",
                "installedApplicationPath", "s", "/opt/example/Example.app", "shouldRequestAuthorizationIfNeeded", "b",
                1, "bundleIdentifier", "s", "org.example.App", "applicationVersion", "s", "1.2.3", "applicationBuild",
                "x", std::int64_t{1234}, "allowsSameBuildReplacement", "b", 0, "expectedTeamIdentifier", "s",
                "ABCDE12345", "launchUserIdentifier", "x", std::int64_t{1000}, "launchGroupIdentifier", "x",
                std::int64_t{1000}, "launchUserName", "s", "user", "launchUserHomeDirectory", "s", "/home/user",
                "failureReportPath", "s", "/home/user/.local/share/org.example.App/report.plist",
                "failureReportAttemptIdentifier", "s", "01234567-89AB-CDEF-0123-456789ABCDEF") >= 0,
            "no entries");
    std::uint64_t cookie = 0;
    require(sd_bus_send(host_->bus(), call, &cookie) >= 0, "not sent");
    sd_bus_message_unref(call);
    int eventCount = 0;
    bool isFinished = false;
    while (!isFinished) {
      sd_bus_message* const message = host_->next();
      require(message != nullptr && BareEnd::readEntries(message) > 0, "no answer");
      isFinished = sd_bus_message_is_signal(message, kInterface, "ReportProgress") <= 0;
      if (!isFinished) ++eventCount;
      sd_bus_message_unref(message);
    }
    require(eventCount == 3, "events are missing");
  }

 private:
  void serve() const {
    while (sd_bus_message* const call = service_.next()) {
      require(BareEnd::readEntries(call) == kEntries, "the request lost entries");
      sendEvent("a{sv}", 1, "event", "s", "handoffStarted");
      sendEvent("a{sv}", 3, "event", "s", "authorizationRequired", "destinationParentIsWritable", "b", 0,
                "canPreserveInstalledOwnership", "b", 0);
      sendEvent("a{sv}", 1, "event", "s", "jobSubmitted");
      sd_bus_reply_method_return(call, "a{sv}", 1, "result", "s", "launched");
      sd_bus_message_unref(call);
    }
  }

  template <typename... Values>
  void sendEvent(const char* types, Values... values) const {
    sd_bus_message* event = nullptr;
    require(sd_bus_message_new_signal(service_.bus(), &event, kObject, kInterface, "ReportProgress") >= 0, "no event");
    require(sd_bus_message_append(event, types, values...) >= 0, "no entries");
    require(sd_bus_send(service_.bus(), event, nullptr) >= 0, "not sent");
    sd_bus_message_unref(event);
  }

  testing::SocketPair sockets_ = testing::makeSocketPair();
  BareEnd service_{std::move(sockets_.service), true};
  std::jthread thread_{[this] { serve(); }};
  std::unique_ptr<BareEnd> host_ = std::make_unique<BareEnd>(std::move(sockets_.host), false);
};

/// Microseconds of one launch.
struct Cost {
  double processor;
  double elapsed;
};

double processorMicroseconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

Cost measure(const std::function<void()>& launch) {
  const double processor = processorMicroseconds();
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < kLaunches; ++i) launch();
  const std::chrono::duration<double, std::micro> elapsed = std::chrono::steady_clock::now() - begin;
  return {.processor = (processorMicroseconds() - processor) / kLaunches, .elapsed = elapsed.count() / kLaunches};
}

double median(std::vector<Cost> costs, double Cost::*kind) {
  std::sort(costs.begin(), costs.end(), [&](const Cost& a, const Cost& b) { return a.*kind < b.*kind; });
  return costs[costs.size() / 2].*kind;
}

void print(const char* name, const std::vector<Cost>& ours, const std::vector<Cost>& bare, double Cost::*kind) {
  const double our = median(ours, kind);
  const double peer = median(bare, kind);
  std::printf("%s: %.1f us a launch, bare sd-bus %.1f us, ratio %.2f\n", name, our, peer, our / peer);
}

}  // namespace

int main() {
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(sched_getcpu(), &one);
  require(sched_setaffinity(0, sizeof one, &one) == 0, "the process cannot be bound to one processor");

  OurConversation ourConversation;
  const BareConversation bareConversation;
  std::vector<Cost> ours;
  std::vector<Cost> bare;
  for (int run = 0; run < kRuns; ++run) {
    ours.push_back(measure([&] { ourConversation.launch(); }));
    bare.push_back(measure([&] { bareConversation.launch(); }));
  }
  print("processor time", ours, bare, &Cost::processor);
  print("elapsed time", ours, bare, &Cost::elapsed);
  return 0;
}
