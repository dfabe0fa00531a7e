#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherService.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceRefusal.h"

namespace quillon {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Budget = VeskAppBundleInstallerLaunchPhaseBudget;
using Message = QuillonPropertyListValue::Dictionary;
using Phase = VeskAppBundleInstallerLaunchPhase;
using Progress = VeskAppBundleInstallerLaunchProgress;
using ProgressHandler = VeskAppBundleInstallerLaunchProgressHandler;
using Refusal = VeskAppBundleInstallerLauncherServiceRefusal;
using Request = VeskAppBundleReplacementRequest;
using Result = VeskAppBundleReplacementLaunchResult;

/// What happened, in order, from whichever thread.
class Events {
 public:
  void add(std::string event) {
    const std::lock_guard guard(lock_);
    events_.push_back(std::move(event));
    changed_.notify_all();
  }
  [[nodiscard]] std::vector<std::string> all() const {
    const std::lock_guard guard(lock_);
    return events_;
  }
  void waitFor(const std::string& event) const {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [&] { return std::find(events_.begin(), events_.end(), event) != events_.end(); });
  }

 private:
  mutable std::mutex lock_;
  mutable std::condition_variable changed_;
  std::vector<std::string> events_;  // guarded by lock_
};

/// The replies to one request.
class Replies {
 public:
  [[nodiscard]] VeskAppBundleInstallerLauncherXPCProtocol::Reply handler() {
    return [this](const Message& reply) {
      const std::lock_guard guard(lock_);
      replies_.push_back(replacementLaunchResult(reply));
      changed_.notify_all();
    };
  }
  /// The first reply; waits for it.
  [[nodiscard]] Result first() const {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this] { return !replies_.empty(); });
    return replies_.front();
  }
  [[nodiscard]] std::vector<Result> all() const {
    const std::lock_guard guard(lock_);
    return replies_;
  }

 private:
  mutable std::mutex lock_;
  mutable std::condition_variable changed_;
  std::vector<Result> replies_;  // guarded by lock_
};

Message messageNamed(const std::string& name) {
  Message message;
  message.emplace("name", QuillonPropertyListValue(name));
  return message;
}

std::string nameOf(const Message& message) {
  const auto found = message.find("name");
  return found == message.end() ? "" : *found->second.getIf<std::string>();
}

Request requestNamed(const std::string& name) {
  return {.stagedApplicationURL = QuillonURL::fileURL("/staged/" + name),
          .installedApplicationURL = QuillonURL::fileURL("/installed"),
          .helperExecutableURL = std::nullopt,
          .hostIdentity = std::nullopt,
          .shouldRequestAuthorizationIfNeeded = false,
          .launchUserContext = std::nullopt,
          .failureReportURL = std::nullopt,
          .failureReportAttemptIdentifier = std::nullopt};
}

Result failed(const std::string& description) {
  return Result::launchFailed({.phase = Phase::messageResolution,
                               .errorDomain = std::nullopt,
                               .errorCode = std::nullopt,
                               .errorDescription = description});
}

/// Every message is a request of its name, unless the test says otherwise.
class FakeLaunchResolver final : public VeskAppBundleInstallerLauncherServiceLaunchResolving {
 public:
  [[nodiscard]] VeskAppBundleXPCReplacementLaunch makeLaunch(const Message& message) const override {
    const std::string name = nameOf(message);
    if (onResolution) onResolution(name);
    return {.request = requestNamed(name), .hostProcessIdentifier = 4242};
  }

  std::function<void(const std::string& name)> onResolution;
};

using LaunchFunction = std::function<Result(const std::string& name, Budget& budget, const ProgressHandler& progress)>;

class FakeLauncher final : public VeskAppBundleUpdateHelperLaunching {
 public:
  FakeLauncher(LaunchFunction launch, std::shared_ptr<Budget> budget)
      : launch_(std::move(launch)), budget_(std::move(budget)) {}

  [[nodiscard]] Result launchReplacement(const Request& request, const ProgressHandler& progress) noexcept override {
    return launch_(std::string(request.stagedApplicationURL.lastPathComponent()), *budget_, progress);
  }

 private:
  LaunchFunction launch_;
  std::shared_ptr<Budget> budget_;
};

class VeskAppBundleInstallerLauncherServiceTest : public ::testing::Test {
 protected:
  VeskAppBundleInstallerLauncherServiceTest() {
    makeLauncher = [this](std::int32_t, std::shared_ptr<Budget> budget) {
      return std::make_shared<FakeLauncher>(
          [this](const auto& name, auto& budgetOfLaunch, const auto& progress) {
            return launch(name, budgetOfLaunch, progress);
          },
          std::move(budget));
    };
    onProgress = [this](const Progress& progress) { events.add(std::string(progress.caseName())); };
    launch = [](const auto&, auto&, const auto&) { return Result::launched(); };
  }

  VeskAppBundleInstallerLauncherService& service() {
    if (!service_) {
      service_ = std::make_unique<VeskAppBundleInstallerLauncherService>(
          resolver, preTimeout, 100, [this] { return time.load(); }, [this](const auto& event) { onProgress(event); },
          [this](std::int32_t host, std::shared_ptr<Budget> budget) { return makeLauncher(host, std::move(budget)); },
          messageOfStatus);
    }
    return *service_;
  }

  /// Waits for all launches.
  void destroyService() { service_.reset(); }

  /// All replies to one request, once its launch is over.
  std::vector<Result> repliesTo(const std::string& name = "a") {
    Replies replies;
    service().launchReplacement(messageNamed(name), replies.handler());
    destroyService();
    return replies.all();
  }

  Events events;
  std::atomic<std::uint64_t> time = 1000;
  std::uint64_t preTimeout = 100;
  std::shared_ptr<FakeLaunchResolver> resolver = std::make_shared<FakeLaunchResolver>();
  VeskAppBundleInstallerLauncherService::LauncherFactory makeLauncher;
  ProgressHandler onProgress;
  LaunchFunction launch;
  VeskAppBundleStatusMessage messageOfStatus;

 private:
  std::unique_ptr<VeskAppBundleInstallerLauncherService> service_;
};

TEST_F(VeskAppBundleInstallerLauncherServiceTest, ARequestIsServedInOrderAndAnsweredLast) {
  resolver->onResolution = [&](const auto&) { events.add("resolve"); };
  const auto usual = makeLauncher;
  makeLauncher = [&](std::int32_t host, std::shared_ptr<Budget> budget) {
    events.add("launcher for " + std::to_string(host));
    return usual(host, std::move(budget));
  };
  launch = [&](const std::string& name, Budget&, const ProgressHandler& progress) {
    events.add("launch " + name);
    progress(Progress::authorizationBegan());
    progress(Progress::jobSubmitted());
    return Result::launched();
  };

  service().launchReplacement(messageNamed("a"), [&](const Message& reply) {
    events.add(std::string("reply ").append(replacementLaunchResult(reply).caseName()));
  });
  destroyService();

  EXPECT_THAT(events.all(), ElementsAre("handoffStarted", "resolve", "launcher for 4242", "launch a",
                                        "authorizationBegan", "jobSubmitted", "reply launched"));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, ResultsOfTheLauncherAreSentAsTheyAre) {
  const VeskAppBundleInstallerFailureDiagnostic diagnostic{
      .phase = Phase::jobSubmission, .errorDomain = "D", .errorCode = 7, .errorDescription = "text"};
  for (const Result& result : {Result::launched(), Result::helperUnavailable(), Result::launchFailed(diagnostic),
                               Result::protocolFailure(diagnostic), Result::authorizationDenied(-60005),
                               Result::authorizationCancelled(-60006), Result::timedOut(Phase::preAuthorization),
                               Result::timedOut(Phase::postAuthorization)}) {
    launch = [&](const auto&, auto&, const auto&) { return result; };

    EXPECT_THAT(repliesTo(), ElementsAre(result));
  }
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, TheStatusOfARefusedAuthorizationIsDescribedInTheSystemsWords) {
  messageOfStatus = [](std::int32_t status) { return "status " + std::to_string(status); };
  launch = [](const auto&, auto&, const auto&) { return Result::authorizationDenied(-60005); };
  Message sent;

  service().launchReplacement({}, [&](const Message& reply) { sent = reply; });
  destroyService();

  EXPECT_EQ(*sent.find("errorDescription")->second.getIf<std::string>(), "status -60005");
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, ATimeoutOfZeroMakesEveryRequestTimeOutDuringTheResolution) {
  preTimeout = 0;
  makeLauncher = [&](auto, auto) {
    events.add("launcher");
    return nullptr;
  };
  resolver->onResolution = [](const std::string& name) {
    if (name == "bad") throw Refusal("bad");
  };

  EXPECT_THAT(repliesTo("good"), ElementsAre(Result::timedOut(Phase::messageResolution)));
  EXPECT_THAT(repliesTo("bad"), ElementsAre(Result::timedOut(Phase::messageResolution)));

  EXPECT_THAT(events.all(), Each("handoffStarted"));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, HandoffStartedComesFirstEvenBeforeAnImmediateTimeout) {
  preTimeout = 0;

  service().launchReplacement({}, [&](const Message& reply) {
    events.add(std::string("reply ").append(replacementLaunchResult(reply).caseName()));
  });

  EXPECT_THAT(events.all(), ElementsAre("handoffStarted", "reply timedOut"));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, TimeThatRunsOutWhileTheMessageIsResolvedEndsTheLaunch) {
  resolver->onResolution = [&](const auto&) { time += preTimeout + 1; };

  EXPECT_THAT(repliesTo(), ElementsAre(Result::timedOut(Phase::messageResolution)));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, AResolutionThatEndsAtTheDeadlineIsInTime) {
  resolver->onResolution = [&](const auto&) { time += preTimeout; };

  EXPECT_THAT(repliesTo(), ElementsAre(Result::launched()));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, TheTimeOfALaunchBeginsWithItsRequest) {
  time = 500'000;
  launch = [&](const auto&, Budget& budget, const auto&) {
    EXPECT_FALSE(budget.postAuthorizationShouldProceed());
    time += preTimeout;
    EXPECT_TRUE(budget.preAuthorizationShouldProceed());
    time += 1;
    EXPECT_FALSE(budget.preAuthorizationShouldProceed());
    budget.beginPostAuthorizationPhase();
    time += 100;
    EXPECT_TRUE(budget.postAuthorizationShouldProceed());
    time += 1;
    EXPECT_FALSE(budget.postAuthorizationShouldProceed());
    return Result::launched();
  };

  EXPECT_THAT(repliesTo(), ElementsAre(Result::launched()));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, ARefusalIsAFailedLaunchThatSaysWhy) {
  resolver->onResolution = [](const auto&) { throw Refusal("not this one", "secret detail"); };

  EXPECT_THAT(repliesTo(), ElementsAre(failed("not this one")));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, AMissingInstallerIsAnUnavailableHelper) {
  resolver->onResolution = [](const auto&) {
    throw VeskUpdateInstallerError(VeskUpdateInstallerError::Code::replacementHelperUnavailable);
  };

  EXPECT_THAT(repliesTo(), ElementsAre(Result::helperUnavailable()));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, EveryOtherErrorOfTheResolutionIsAFailedLaunch) {
  resolver->onResolution = [](const std::string& name) {
    if (name == "launch") throw VeskUpdateInstallerError::replacementLaunchFailed();
    if (name == "standard") throw std::runtime_error("out of order");
    throw 42;  // NOLINT(hicpp-exception-baseclass): what nobody expects
  };

  EXPECT_THAT(repliesTo("launch"), ElementsAre(failed("replacementLaunchFailed")));
  EXPECT_THAT(repliesTo("standard"), ElementsAre(failed("out of order")));
  EXPECT_THAT(repliesTo("number"), ElementsAre(failed("The launch could not begin.")));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, WithoutALauncherTheHelperIsUnavailable) {
  makeLauncher = [](auto, auto) { return nullptr; };

  EXPECT_THAT(repliesTo(), ElementsAre(Result::helperUnavailable()));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, ALauncherThatCannotBeMadeIsAFailedLaunch) {
  makeLauncher = [](auto, auto) -> std::shared_ptr<VeskAppBundleUpdateHelperLaunching> {
    throw std::runtime_error("no bus");
  };

  EXPECT_THAT(repliesTo(), ElementsAre(failed("no bus")));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, AProgressHandlerThatThrowsChangesNothing) {
  onProgress = [](const auto&) { throw std::runtime_error("nobody listens"); };
  launch = [](const auto&, auto&, const ProgressHandler& progress) {
    progress(Progress::jobSubmitted());
    return Result::launched();
  };

  EXPECT_THAT(repliesTo(), ElementsAre(Result::launched()));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, AReplyThatThrowsIsNotRepeated) {
  std::atomic<int> replies = 0;
  const auto reply = [&](const Message&) {
    ++replies;
    throw std::runtime_error("nobody waits");
  };

  service().launchReplacement({}, reply);
  destroyService();
  EXPECT_EQ(replies, 1);

  preTimeout = 0;
  service().launchReplacement({}, reply);
  destroyService();
  EXPECT_EQ(replies, 2);
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, AResultThatCannotBeEncodedIsAnsweredAsAFailedConversation) {
  messageOfStatus = [](std::int32_t) -> std::optional<std::string> { throw std::runtime_error("no texts"); };
  launch = [](const auto&, auto&, const auto&) { return Result::authorizationCancelled(-60006); };

  const std::vector<Result> replies = repliesTo();

  ASSERT_THAT(replies, SizeIs(1));
  EXPECT_EQ(replies.front().caseName(), "protocolFailure");
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, AClockThatThrowsIsAFailedLaunch) {
  VeskAppBundleInstallerLauncherService broken(
      resolver, 1, 1, []() -> std::uint64_t { throw std::runtime_error("no clock"); }, onProgress, makeLauncher);
  Replies replies;

  broken.launchReplacement({}, replies.handler());

  EXPECT_THAT(replies.all(), ElementsAre(failed("no clock")));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, TheCallReturnsWhileTheLaunchGoesOn) {
  std::promise<void> gate;
  launch = [&](const auto&, auto&, const auto&) {
    gate.get_future().wait();
    return Result::launched();
  };
  Replies replies;

  service().launchReplacement({}, replies.handler());

  EXPECT_THAT(replies.all(), IsEmpty());
  gate.set_value();
  EXPECT_EQ(replies.first(), Result::launched());
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, TheFirstEventComesFromTheCallAndTheOthersFromTheLaunchsThread) {
  std::vector<std::thread::id> threads;  // the launch's thread begins after the first event
  onProgress = [&](const auto&) { threads.push_back(std::this_thread::get_id()); };
  std::thread::id launchThread;
  launch = [&](const auto&, auto&, const ProgressHandler& progress) {
    launchThread = std::this_thread::get_id();
    progress(Progress::jobSubmitted());
    return Result::launched();
  };

  (void)repliesTo();

  EXPECT_NE(launchThread, std::this_thread::get_id());
  EXPECT_THAT(threads, ElementsAre(std::this_thread::get_id(), launchThread));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, TheDestructorWaitsForLaunchesUnderWay) {
  std::promise<void> gate;
  launch = [&](const auto&, auto&, const auto&) {
    gate.get_future().wait();
    return Result::launched();
  };
  Replies replies;
  service().launchReplacement({}, replies.handler());

  std::thread opener([&] { gate.set_value(); });
  destroyService();

  EXPECT_THAT(replies.all(), ElementsAre(Result::launched()));
  opener.join();
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, TwoRequestsDoNotDisturbEachOther) {
  std::promise<void> gate;
  launch = [&, opened = gate.get_future().share()](const std::string& name, Budget& budget, const auto&) {
    events.add("begin " + name);
    if (name == "slow") opened.wait();
    const bool proceeds = budget.preAuthorizationShouldProceed();
    return proceeds ? Result::launched() : Result::timedOut(Phase::preAuthorization);
  };
  Replies slow;
  Replies quick;

  service().launchReplacement(messageNamed("slow"), slow.handler());
  events.waitFor("begin slow");
  time += preTimeout + 1;  // beyond the deadline of the first request, before that of the second
  service().launchReplacement(messageNamed("quick"), quick.handler());

  EXPECT_EQ(quick.first(), Result::launched());
  EXPECT_THAT(slow.all(), IsEmpty());
  gate.set_value();
  EXPECT_EQ(slow.first(), Result::timedOut(Phase::preAuthorization));
  destroyService();
  EXPECT_THAT(slow.all(), SizeIs(1));
  EXPECT_THAT(quick.all(), SizeIs(1));
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, ARequestThatIsRefusedDoesNotWaitForALaunchUnderWay) {
  std::promise<void> gate;
  launch = [&](const auto&, auto&, const auto&) {
    gate.get_future().wait();
    return Result::launched();
  };
  resolver->onResolution = [](const std::string& name) {
    if (name == "bad") throw Refusal("bad");
  };
  Replies good;
  Replies bad;

  service().launchReplacement(messageNamed("good"), good.handler());
  service().launchReplacement(messageNamed("bad"), bad.handler());

  EXPECT_THAT(bad.all(), ElementsAre(failed("bad")));
  EXPECT_THAT(good.all(), IsEmpty());
  gate.set_value();
  EXPECT_EQ(good.first(), Result::launched());
}

TEST_F(VeskAppBundleInstallerLauncherServiceTest, RequestsFromManyThreadsAreEachAnsweredOnce) {
  std::vector<Replies> all(60);
  launch = [](const auto&, auto&, const ProgressHandler& progress) {
    progress(Progress::jobSubmitted());
    return Result::launched();
  };
  (void)service();

  {
    std::vector<std::jthread> hosts;
    for (std::size_t host = 0; host < 4; ++host) {
      hosts.emplace_back([&, host] {
        for (std::size_t i = host; i < all.size(); i += 4) service().launchReplacement({}, all[i].handler());
      });
    }
  }
  destroyService();

  for (const Replies& replies : all) EXPECT_THAT(replies.all(), ElementsAre(Result::launched()));
  EXPECT_THAT(events.all(), SizeIs(2 * all.size()));
  EXPECT_THAT(events.all(), Contains("jobSubmitted"));
}

}  // namespace
}  // namespace quillon
