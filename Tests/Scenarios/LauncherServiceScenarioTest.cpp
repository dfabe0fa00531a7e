// The launcher service as a process of its own inside an application bundle, and hosts of all kinds at the other end of
// its connection.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "CodeSignature/CodeSigner.h"
#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "QuillonCore/Runtime/QuillonTimerThread.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusChannel.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleBusInstallerLauncherServiceConnectionFactory.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleInstallerLauncherServiceListener.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceInfo.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessage.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCUpdateHelperLauncher.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/ReplacementRequestBuilder.h"
#include "Support/ReportFifo.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/SocketPair.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::AnyOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Result = VeskAppBundleReplacementLaunchResult;
using testing::makeApplicationBundle;
using testing::readFile;
using testing::writeFile;
using testing::writeScript;

constexpr uid_t kOther = 65534;  // "nobody", present on every Debian system
constexpr const char* kTeam = "TEAM123456";

std::string binary(const std::string& name) {
  return std::string(QUILLON_BINARY_FOLDER) + "/" + name;
}

/// A launcher service that was started with one end of a connection.
class ServiceProcess {
 public:
  ServiceProcess(const fs::path& executable, const FileDescriptor& socket) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, socket.get(), kInstallerLauncherServiceDescriptor);
    std::string path = executable.string();
    std::array<char*, 2> arguments = {path.data(), nullptr};
    EXPECT_EQ(posix_spawn(&process_, path.c_str(), &actions, nullptr, arguments.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
  }
  ~ServiceProcess() {
    if (process_ == 0) return;
    kill();
    (void)wait();
  }
  ServiceProcess(const ServiceProcess&) = delete;
  ServiceProcess& operator=(const ServiceProcess&) = delete;

  [[nodiscard]] pid_t identifier() const noexcept { return process_; }
  void kill(int signal = SIGKILL) const noexcept { ::kill(process_, signal); }
  /// Exit status, or 128 plus the number of the signal that ended it.
  int wait() {
    int status = 0;
    EXPECT_EQ(waitpid(std::exchange(process_, 0), &status, 0) > 0, true);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  /// Open descriptors.
  [[nodiscard]] std::size_t descriptorCount() const {
    const fs::directory_iterator all("/proc/" + std::to_string(process_) + "/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
  }
  /// Children, ended ones that nobody has waited for included.
  [[nodiscard]] std::string children() const {
    std::string all;
    for (const auto& thread : fs::directory_iterator("/proc/" + std::to_string(process_) + "/task")) {
      all += readFile(thread.path() / "children");
    }
    return all;
  }

 private:
  pid_t process_ = 0;
};

/// The signals that a process ignores, by the lines of its /proc/PID/status; without the C library's own, 32 and 33.
std::uint32_t ignoredSignals(const std::string& status) {
  constexpr std::string_view kName = "SigIgn:";
  const auto all = std::stoull(status.substr(status.find(kName) + kName.size()), nullptr, 16);
  return static_cast<std::uint32_t>(all & 0x7FFFFFFF);
}

/// What a host heard of one launch.
struct LaunchOutcome {
  std::vector<std::string> events;
  Result result;
};

/// A launch by the host's own launcher, which starts a service for it.
class HostLaunch {
 public:
  using OnEvent = std::function<void(const std::string& event)>;

  HostLaunch(const fs::path& application, const VeskAppBundleReplacementRequest& request, const OnEvent& onEvent = {}) {
    constexpr std::uint64_t kMinute = 60'000'000'000;
    VeskAppBundleXPCUpdateHelperLauncher launcher(
        std::make_shared<VeskAppBundleBusInstallerLauncherServiceConnectionFactory>(
            QuillonURL::fileURL(application.string())),
        VeskAppBundleInstallerLauncherServiceInfo::serviceName("org.example.App"), kMinute, kMinute,
        std::make_shared<QuillonTimerThread>());
    outcome.result = launcher.launchReplacement(request, [&](const VeskAppBundleInstallerLaunchProgress& progress) {
      outcome.events.emplace_back(progress.caseName());
      if (onEvent) onEvent(outcome.events.back());
    });
  }

  LaunchOutcome outcome;
};

/// A host that speaks to the service word by word.
class HostConversation {
 public:
  explicit HostConversation(const fs::path& serviceExecutable)
      : HostConversation(serviceExecutable, testing::makeSocketPair()) {}
  HostConversation(const fs::path& serviceExecutable, testing::SocketPair sockets)
      : service(std::make_unique<ServiceProcess>(serviceExecutable, sockets.service)),
        channel_(std::make_unique<LauncherBusChannel>(std::move(sockets.host), LauncherBusEnd::host)) {}

  bool send(const VeskAppBundleReplacementRequest& request) {
    return send(VeskAppBundleXPCReplacementMessage{request}.propertyList());
  }
  bool send(const QuillonPropertyListValue::Dictionary& message) { return channel_->call(message).has_value(); }
  /// Sends a request and waits until the service has begun to work on it.
  void begin(const VeskAppBundleReplacementRequest& request) {
    ASSERT_TRUE(send(request));
    const auto message = channel_->next();
    ASSERT_TRUE(message && std::holds_alternative<LauncherBusProgress>(*message));
    EXPECT_EQ(installerLaunchProgress(std::get<LauncherBusProgress>(*message).progress),
              VeskAppBundleInstallerLaunchProgress::handoffStarted());
  }
  /// Everything up to the next reply. The service's end counts as one of the phase xpcConnection.
  LaunchOutcome outcome() {
    LaunchOutcome outcome;
    while (const auto message = channel_->next()) {
      if (const auto* const reply = std::get_if<LauncherBusReply>(&*message)) {
        outcome.result = replacementLaunchResult(reply->reply);
        return outcome;
      }
      const auto event = installerLaunchProgress(std::get<LauncherBusProgress>(*message).progress);
      outcome.events.emplace_back(event ? event->caseName() : "unreadable");
    }
    VeskAppBundleInstallerFailureDiagnostic diagnostic;
    diagnostic.phase = VeskAppBundleInstallerLaunchPhase::xpcConnection;
    outcome.result = Result::protocolFailure(std::move(diagnostic));
    return outcome;
  }
  LaunchOutcome launch(const VeskAppBundleReplacementRequest& request) {
    EXPECT_TRUE(send(request));
    return outcome();
  }
  void close() { channel_.reset(); }
  /// Ends the conversation; the service's exit status.
  int end() {
    close();
    return service->wait();
  }

  std::unique_ptr<ServiceProcess> service;

 private:
  std::unique_ptr<LauncherBusChannel> channel_;
};

/// An application with its service. Its installer and its signing tool are scripts, so that a test sees what was
/// started, and holds the service where it wants.
class LauncherServiceScenario : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0 && fs::exists("/run/systemd/system")) {
      GTEST_SKIP() << "the system's service manager would ask for administrator rights";
    }
    ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
    makeApplicationBundle(installed, {.version = "1.0", .build = "1"});
    makeApplicationBundle(staged, {.version = "2.0", .build = "2"});
    serviceExecutable = testing::addLauncherService(installed, QUILLON_BINARY_FOLDER);
    writeScript(programs / "QuillonUpdateInstaller", "exit 0");
    writeScript(programs / "quillon-codesign", std::string("echo TeamIdentifier=") + kTeam);
  }

  [[nodiscard]] VeskAppBundleReplacementRequest request() const {
    return testing::makeReplacementRequest(staged, installed);
  }

  /// Makes the installer write its arguments to a pipe.
  [[nodiscard]] testing::ReportFifo reportingInstaller() const {
    testing::ReportFifo fifo(folder / "installer-arguments");
    writeScript(programs / "QuillonUpdateInstaller", "echo \"$@\" > " + fifo.path().string());
    return fifo;
  }

  testing::TemporaryDirectory folder;
  fs::path installed = fs::canonical(folder.path()) / "Applications/Example.app";
  fs::path staged = fs::canonical(folder.path()) / "Staging/Example.app";
  fs::path programs = installed / "Contents/MacOS";
  fs::path serviceExecutable;
};

TEST_F(LauncherServiceScenario, StartedByHandItSaysThatThereIsNoConnection) {
  const QuillonProcessResult result =
      QuillonPosixProcessRunner().run(binary("QuillonUpdateInstallerLauncherService"), {});

  EXPECT_EQ(result.status, 64);
  EXPECT_THAT(result.output, HasSubstr("there is no connection to a host"));
}

TEST_F(LauncherServiceScenario, ItShowsItsHelpAndItsVersionAndRefusesOtherWords) {
  const auto run = [](const std::string& word) {
    return QuillonPosixProcessRunner().run(binary("QuillonUpdateInstallerLauncherService"), {word});
  };

  EXPECT_EQ(run("--help").status, 0);
  EXPECT_THAT(run("--version").output, StartsWith("QuillonUpdateInstallerLauncherService "));
  EXPECT_EQ(run("--serve").status, 64);
}

TEST_F(LauncherServiceScenario, ALaunchStartsTheInstallerOfTheApplicationWithWhatWasChecked) {
  const testing::ReportFifo arguments = reportingInstaller();
  fs::create_directory_symlink(staged.parent_path(), folder / "link");
  VeskAppBundleReplacementRequest linked = request();
  linked.stagedApplicationURL = QuillonURL::fileURL((folder / "link/Example.app").string());
  linked.failureReportURL = QuillonURL::fileURL((folder / "Failure.plist").string());
  HostConversation host(serviceExecutable);

  const LaunchOutcome outcome = host.launch(linked);

  EXPECT_EQ(outcome.result, Result::launched());
  EXPECT_THAT(outcome.events, ElementsAre("handoffStarted", "jobSubmitted"));
  VeskAppBundleReplacementRequest expected = request();
  expected.hostIdentity->expectedTeamIdentifier = kTeam;
  expected.failureReportURL = linked.failureReportURL;
  std::string words;
  for (const std::string& word :
       expected.helperArguments(getpid(), VeskAppBundleLaunchdUserContext::currentProcess())) {
    words += (words.empty() ? "" : " ") + word;
  }
  EXPECT_EQ(arguments.read(), words + "\n");
  EXPECT_EQ(host.end(), 0);
}

TEST_F(LauncherServiceScenario, ARefusalSaysWhyAndStartsNothing) {
  VeskAppBundleReplacementRequest foreign = request();
  foreign.installedApplicationURL = QuillonURL::fileURL(staged.string());
  writeScript(programs / "QuillonUpdateInstaller", "touch " + (folder / "started").string());
  HostConversation host(serviceExecutable);

  const LaunchOutcome outcome = host.launch(foreign);

  EXPECT_THAT(outcome.events, ElementsAre("handoffStarted"));
  EXPECT_EQ(outcome.result,
            Result::launchFailed(
                {.phase = VeskAppBundleInstallerLaunchPhase::messageResolution,
                 .errorDomain = std::nullopt,
                 .errorCode = std::nullopt,
                 .errorDescription = "The request names another application than the one that contains the service."}));
  EXPECT_EQ(host.end(), 0);
  EXPECT_FALSE(fs::exists(folder / "started"));
}

TEST_F(LauncherServiceScenario, AMessageThatCannotBeReadIsRefusedAndTheNextOneServed) {
  auto mistyped = VeskAppBundleXPCReplacementMessage{request()}.propertyList();
  mistyped.insert_or_assign("applicationBuild", QuillonPropertyListValue("42 "));
  auto huge = VeskAppBundleXPCReplacementMessage{request()}.propertyList();
  huge.insert_or_assign("applicationVersion", QuillonPropertyListValue(std::string(500'000, 'x')));
  HostConversation host(serviceExecutable);

  for (const auto& message : {QuillonPropertyListValue::Dictionary{}, mistyped, huge}) {
    ASSERT_TRUE(host.send(message));
    EXPECT_EQ(host.outcome().result.caseName(), "launchFailed");
  }

  EXPECT_EQ(host.launch(request()).result, Result::launched());
}

TEST_F(LauncherServiceScenario, NothingOfItsStarterIsLeftInTheService) {
  constexpr int kStray = 50;
  const FileDescriptor null(open("/dev/null", O_RDONLY | O_CLOEXEC));
  const FileDescriptor stray(dup2(null.get(), kStray));  // inherited by what is started
  ASSERT_EQ(stray.get(), kStray);
  HostConversation host(serviceExecutable);

  host.begin(request());

  const fs::path process = "/proc/" + std::to_string(host.service->identifier());
  EXPECT_FALSE(fs::exists(fs::symlink_status(process / "fd" / std::to_string(kStray))));
  EXPECT_THAT(readFile(process / "limits"), ::testing::ContainsRegex("Max core file size +0 "));
}

TEST_F(LauncherServiceScenario, AServiceOutsideOfAnApplicationRefusesEveryRequest) {
  HostConversation host(binary("QuillonUpdateInstallerLauncherService"));

  const LaunchOutcome outcome = host.launch(request());

  EXPECT_EQ(outcome.result.caseName(), "launchFailed");
  EXPECT_EQ(host.end(), 0);
}

TEST_F(LauncherServiceScenario, WithoutItsInstallerTheHelperIsUnavailable) {
  fs::remove(programs / "QuillonUpdateInstaller");
  HostConversation host(serviceExecutable);

  EXPECT_EQ(host.launch(request()).result, Result::helperUnavailable());
}

TEST_F(LauncherServiceScenario, AServiceThatIsKilledBeforeItAnswersEndsTheConversation) {
  const testing::ReportFifo asked(folder / "asked");
  writeScript(programs / "quillon-codesign", "echo asked > " + asked.path().string() + "\nread line < " +
                                                 testing::ReportFifo(folder / "answer").path().string());
  HostConversation host(serviceExecutable);
  host.begin(request());
  ASSERT_EQ(asked.read(), "asked\n");

  host.service->kill();

  const LaunchOutcome outcome = host.outcome();
  EXPECT_EQ(outcome.result.caseName(), "protocolFailure");
  EXPECT_EQ(host.end(), 128 + SIGKILL);
  writeFile(folder / "answer", "\n");
}

TEST_F(LauncherServiceScenario, ALaunchUnderWaySurvivesTheSignalsOfTheTerminalAndTheEndOfTheHost) {
  const testing::ReportFifo arguments = reportingInstaller();
  const testing::ReportFifo asked(folder / "asked");
  const testing::ReportFifo answer(folder / "answer");
  writeScript(programs / "quillon-codesign", "echo asked > " + asked.path().string() + "\nread line < " +
                                                 answer.path().string() + "\necho TeamIdentifier=" + kTeam);
  HostConversation host(serviceExecutable);
  host.begin(request());
  ASSERT_EQ(asked.read(), "asked\n");

  for (const int signal : {SIGINT, SIGHUP, SIGQUIT}) host.service->kill(signal);
  host.close();
  writeFile(answer.path(), "\n");

  EXPECT_THAT(arguments.read(), StartsWith("--staged-app"));
  EXPECT_EQ(host.service->wait(), 0);
}

TEST_F(LauncherServiceScenario, WhatItStartsDoesNotIgnoreTheSignalsThatItIgnoresItself) {
  const testing::ReportFifo ofInstaller(folder / "installer-signals");
  const fs::path ofTool = folder / "tool-signals";
  const auto tell = [](const fs::path& file) { return "grep SigIgn: /proc/$$/status > " + file.string(); };
  writeScript(programs / "QuillonUpdateInstaller", tell(ofInstaller.path()));
  writeScript(programs / "quillon-codesign", tell(ofTool) + "\necho TeamIdentifier=" + kTeam);
  HostConversation host(serviceExecutable);

  ASSERT_EQ(host.launch(request()).result, Result::launched());

  const fs::path ofService = "/proc/" + std::to_string(host.service->identifier()) + "/status";
  constexpr std::uint32_t kSignalsOfTheTerminal = 1U << (SIGHUP - 1) | 1U << (SIGINT - 1) | 1U << (SIGQUIT - 1);
  EXPECT_EQ(ignoredSignals(readFile(ofService)) & kSignalsOfTheTerminal, kSignalsOfTheTerminal);
  EXPECT_EQ(ignoredSignals(ofInstaller.read()), 0U);
  EXPECT_EQ(ignoredSignals(readFile(ofTool)), 0U);
}

TEST_F(LauncherServiceScenario, AHostThatSendsAndGoesLeavesNoServiceBehind) {
  const testing::ReportFifo arguments = reportingInstaller();
  HostConversation host(serviceExecutable);
  host.begin(request());

  host.close();

  EXPECT_THAT(arguments.read(), StartsWith("--staged-app"));
  EXPECT_EQ(host.service->wait(), 0);
}

TEST_F(LauncherServiceScenario, AHostThatGoesWithoutAWordLeavesNoServiceBehind) {
  HostConversation host(serviceExecutable);

  EXPECT_LT(host.end(), 128);
}

TEST_F(LauncherServiceScenario, TwoLaunchesOfOneHostAreEachAnswered) {
  HostConversation host(serviceExecutable);
  ASSERT_TRUE(host.send(request()));
  ASSERT_TRUE(host.send(request()));

  EXPECT_EQ(host.outcome().result, Result::launched());
  EXPECT_EQ(host.outcome().result, Result::launched());
  EXPECT_EQ(host.end(), 0);
}

TEST_F(LauncherServiceScenario, AFloodingHostGetsAnAnswerToEachOfItsRequests) {
  constexpr int kRequests = 300;
  writeScript(programs / "quillon-codesign", "exit 1");
  HostConversation host(serviceExecutable);

  int sent = 0;
  while (sent < kRequests && host.send(request())) ++sent;
  std::vector<std::string> cases;
  cases.reserve(kRequests);
  for (int i = 0; i < sent; ++i) cases.emplace_back(host.outcome().result.caseName());

  EXPECT_GT(sent, 0);
  EXPECT_THAT(cases, Each("launchFailed"));
  EXPECT_EQ(host.end(), 0);
}

TEST_F(LauncherServiceScenario, AHundredHostsAtOnceAreServedByAHundredServices) {
  std::vector<Result> results(100);

  {
    std::vector<std::jthread> hosts;
    hosts.reserve(results.size());
    for (Result& result : results) {
      hosts.emplace_back([&] { result = HostLaunch(installed, request()).outcome.result; });
    }
  }

  EXPECT_THAT(results, Each(Result::launched()));
}

TEST_F(LauncherServiceScenario, AHostsLauncherHearsOfTheLaunchAndOfItsResult) {
  const testing::ReportFifo arguments = reportingInstaller();

  const HostLaunch launch(installed, request());

  EXPECT_EQ(launch.outcome.result, Result::launched());
  EXPECT_THAT(launch.outcome.events, ElementsAre("handoffStarted", "jobSubmitted"));
  EXPECT_THAT(arguments.read(), HasSubstr("--host-pid " + std::to_string(getpid()) + " "));
}

/// A launch during which the service is killed when the host hears of an event. An authorization under way needs an
/// authorization service, and is not among them.
class KilledLauncherServiceScenario : public LauncherServiceScenario {
 protected:
  void SetUp() override {
    LauncherServiceScenario::SetUp();
    if (IsSkipped()) return;
    fs::create_directory(shared);
    fs::permissions(shared, fs::perms(0777));
    writeScript(programs / "quillon-codesign", "echo $PPID > " + process().string() + "\necho TeamIdentifier=" + kTeam);
  }
  void TearDown() override { fs::permissions(installed.parent_path(), fs::perms(0755)); }

  /// Where the signing tool leaves the number of the service that runs it.
  [[nodiscard]] fs::path process() const { return shared / "process"; }
  void killService() const { ::kill(std::stoi(readFile(process())), SIGKILL); }

  /// What an ordinary user's host hears when the folder of the application cannot be written; the last word is the
  /// result. The service is killed at `fatalEvent`.
  [[nodiscard]] std::vector<std::string> launchWithoutPermission(const std::string& fatalEvent) const {
    fs::permissions(installed.parent_path(), fs::perms(0555));
    const fs::path heard = shared / "heard";
    const pid_t host = fork();
    if (host == 0) {
      if (geteuid() == 0 && (setgid(kOther) != 0 || setuid(kOther) != 0)) _exit(2);
      const HostLaunch launch(installed, request(), [&](const std::string& event) {
        if (event == fatalEvent) killService();
      });
      std::ofstream file(heard);
      for (const std::string& event : launch.outcome.events) file << event << '\n';
      file << launch.outcome.result.caseName() << '\n';
      file.close();
      _exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(host, &status, 0), host);
    EXPECT_EQ(status, 0);
    std::ifstream file(heard);
    return {std::istream_iterator<std::string>(file), {}};
  }

  fs::path shared = folder / "shared";
};

TEST_F(KilledLauncherServiceScenario, AtTheBeginningTheHostHearsThatTheConversationEnded) {
  const testing::ReportFifo asked(folder / "asked");
  const testing::ReportFifo answer(folder / "answer");
  writeScript(programs / "quillon-codesign",
              "echo $PPID > " + asked.path().string() + "\nread line < " + answer.path().string());

  const HostLaunch launch(installed, request(), [&](const std::string& event) {
    if (event == "handoffStarted") ::kill(std::stoi(asked.read()), SIGKILL);
  });

  EXPECT_THAT(launch.outcome.events, ElementsAre("handoffStarted"));
  EXPECT_EQ(launch.outcome.result.caseName(), "protocolFailure");
  writeFile(answer.path(), "\n");
}

TEST_F(KilledLauncherServiceScenario, WithoutPermissionAndWithoutBeingKilledTheHostHearsADenial) {
  EXPECT_THAT(launchWithoutPermission("no event"),
              ElementsAre("handoffStarted", "authorizationRequired", "authorizationDenied"));
}

TEST_F(KilledLauncherServiceScenario, WhereRightsAreNeededTheHostHearsOneResult) {
  const std::vector<std::string> heard = launchWithoutPermission("authorizationRequired");

  // The service may have answered before it was killed.
  EXPECT_THAT(heard,
              ElementsAre("handoffStarted", "authorizationRequired", AnyOf("protocolFailure", "authorizationDenied")));
}

TEST_F(KilledLauncherServiceScenario, OnceTheJobIsSubmittedTheHostHearsOneResultAndTheInstallerRuns) {
  const testing::ReportFifo arguments = reportingInstaller();

  const HostLaunch launch(installed, request(), [&](const std::string& event) {
    if (event == "jobSubmitted") killService();
  });

  EXPECT_THAT(launch.outcome.events, ElementsAre("handoffStarted", "jobSubmitted"));
  EXPECT_THAT(launch.outcome.result.caseName(), AnyOf("protocolFailure", "launched"));
  EXPECT_THAT(arguments.read(), StartsWith("--staged-app"));
}

TEST_F(LauncherServiceScenario, APeerOfAnotherUserIsRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make a socket of another user";
  // The system notes who makes a pair of sockets.
  ASSERT_EQ(seteuid(kOther), 0);
  testing::SocketPair sockets = testing::makeSocketPair();
  ASSERT_EQ(seteuid(0), 0);
  HostConversation host(serviceExecutable, std::move(sockets));

  (void)host.send(request());

  EXPECT_EQ(host.outcome().result.caseName(), "protocolFailure");
  EXPECT_EQ(host.service->wait(), 1);
}

TEST_F(LauncherServiceScenario, ManyLaunchesLeaveNoDescriptorAndNoChild) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  constexpr int kLaunches = 150;  // each starts two programs, which takes such a process ten times as long
#else
  constexpr int kLaunches = 1000;
#endif
  constexpr int kAtOnce = 4;
  HostConversation host(serviceExecutable);
  ASSERT_EQ(host.launch(request()).result, Result::launched());
  const std::size_t descriptors = host.service->descriptorCount();

  for (int i = 0; i < kLaunches + kAtOnce; ++i) {
    if (i < kLaunches) {
      ASSERT_TRUE(host.send(request()));
    }
    if (i >= kAtOnce) {
      ASSERT_EQ(host.outcome().result, Result::launched());
    }
  }

  EXPECT_EQ(host.service->descriptorCount(), descriptors);
  EXPECT_EQ(host.service->children(), "");
  EXPECT_EQ(host.end(), 0);
}

/// The same with the real installer and tools, and signatures of a team that this machine trusts.
class SignedLauncherServiceScenario : public LauncherServiceScenario {
 protected:
  void SetUp() override {
    LauncherServiceScenario::SetUp();
    if (IsSkipped()) return;
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    fs::create_directories(anchor.parent_path());
    for (const fs::path& guarded : {anchor.parent_path(), anchor.parent_path().parent_path()}) {
      fs::permissions(guarded, fs::perms(0755));
    }
    writeFile(anchor, testing::sharedSigningIdentity().root);
    fs::permissions(anchor, fs::perms(0644));
    for (const char* name : {"QuillonUpdateInstaller", "quillon-codesign"}) fs::remove(programs / name);
    testing::addPrograms(installed, QUILLON_BINARY_FOLDER,
                         {"QuillonUpdateInstaller", "quillon-codesign", "quillon-open", "quillon-launchctl"});
    testing::addPrograms(staged, QUILLON_BINARY_FOLDER, {"quillon-open", "quillon-launchctl"});
    for (const fs::path& bundle : {installed, staged}) {
      writeScript(bundle / "Contents/MacOS/Example",
                  "cat \"${0%/MacOS/*}/Resources/version.txt\" > " + started.path().string());
      signCode(QuillonURL::fileURL(bundle.string()),
               {.identity = testing::sharedSigningIdentity().identity(), .replacesSignature = true});
    }
  }
  void TearDown() override {
    prctl(PR_SET_CHILD_SUBREAPER, 0);
    fs::remove(anchor);
  }

  /// Waits for the processes that the service and the installer left behind. Ends at once where the system's service
  /// manager runs the installer.
  static void waitForOrphans() {
    while (waitpid(-1, nullptr, 0) > 0) {
    }
  }

  fs::path anchor = fs::path(QUILLON_BINARY_FOLDER).parent_path() / "etc/quillon/anchors.d" /
                    ("launcher-service-scenario-" + std::to_string(getpid()) + ".pem");
  testing::ReportFifo started{folder / "started"};
};

TEST_F(SignedLauncherServiceScenario, ALaunchEndsWithTheApplicationReplacedAndStarted) {
  // The installer waits for this host: a process that the test ends.
  const pid_t hostProcess = fork();
  if (hostProcess == 0) {
    _exit(HostLaunch(installed, request()).outcome.result == Result::launched() ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(hostProcess, &status, 0), hostProcess);
  ASSERT_EQ(status, 0);

  EXPECT_EQ(started.read(), "2.0");
  waitForOrphans();
  EXPECT_EQ(testing::versionOfApplicationBundle(installed), "2.0");
  EXPECT_FALSE(fs::exists(staged));
}

}  // namespace
}  // namespace quillon
