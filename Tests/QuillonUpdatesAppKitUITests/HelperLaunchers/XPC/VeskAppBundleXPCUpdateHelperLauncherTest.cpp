#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <latch>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "QuillonCore/Runtime/QuillonTimerThread.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessage.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCUpdateHelperLauncher.h"
#include "Support/FakeLauncherServiceConnection.h"
#include "Support/ManualTimers.h"
#include "Support/ReplacementRequestBuilder.h"

namespace quillon {
namespace {

using Connection = VeskAppBundleInstallerLauncherServiceConnection;
using Phase = VeskAppBundleInstallerLaunchPhase;
using Progress = VeskAppBundleInstallerLaunchProgress;
using Result = VeskAppBundleReplacementLaunchResult;
using ::testing::ElementsAre;
using testing::FakeLauncherServiceConnectionFactory;
using testing::ManualTimers;

constexpr std::uint64_t kBefore = 1000;
constexpr std::uint64_t kAfter = 2000;
constexpr std::uint64_t kLongDialog = 1'000'000'000'000;

VeskAppBundleReplacementRequest request() {
  VeskAppBundleReplacementRequest request =
      testing::makeReplacementRequest("/staging/Example.app", "/Applications/Example.app");
  request.shouldRequestAuthorizationIfNeeded = true;
  return request;
}

/// The service is what each test does when the request has been submitted, on the launching thread.
class VeskAppBundleXPCUpdateHelperLauncherTest : public ::testing::Test {
 protected:
  Result launch(std::uint64_t before = kBefore, std::uint64_t after = kAfter) {
    VeskAppBundleXPCUpdateHelperLauncher launcher(factory_, "org.example.Service", before, after, timers_);
    return launcher.launchReplacement(
        request(), [this](const Progress& progress) { progress_.emplace_back(progress.caseName()); });
  }

  void whenSubmitted(std::function<void(const Connection::Reply& reply)> service) const {
    factory_->connection->whenSubmitted = std::move(service);
  }

  std::shared_ptr<FakeLauncherServiceConnectionFactory> factory_ =
      std::make_shared<FakeLauncherServiceConnectionFactory>();
  std::shared_ptr<ManualTimers> timers_ = std::make_shared<ManualTimers>();
  std::vector<std::string> progress_;
};

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, TheReplyIsTheResult) {
  whenSubmitted([](const Connection::Reply& reply) { reply(Result::authorizationDenied(-60005)); });

  EXPECT_EQ(launch(), Result::authorizationDenied(-60005));

  EXPECT_EQ(factory_->serviceName, "org.example.Service");
  EXPECT_EQ(factory_->connection->message(), VeskAppBundleXPCReplacementMessage{request()}.propertyList());
  EXPECT_THAT(factory_->connection->calls(), ElementsAre("resume", "launchReplacement", "invalidate"));
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, WithoutAConnectionTheHelperIsUnavailableAndNoTimerIsMade) {
  factory_->connection = nullptr;

  EXPECT_EQ(launch(), Result::helperUnavailable());

  EXPECT_EQ(timers_->scheduledCount(), 0U);
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, ARequestThatCannotBeSentIsAnUnavailableHelper) {
  factory_->connection->canSend = false;

  EXPECT_EQ(launch(), Result::helperUnavailable());

  EXPECT_EQ(timers_->scheduledCount(), 0U);
  EXPECT_THAT(factory_->connection->calls(), ElementsAre("resume", "launchReplacement", "invalidate"));
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, AConnectionErrorIsAProtocolFailure) {
  whenSubmitted([this](const Connection::Reply& /*reply*/) {
    factory_->errorHandler(installerLauncherServiceConnectionInterrupted());
  });

  EXPECT_EQ(launch(),
            Result::protocolFailure({.phase = Phase::xpcConnection,
                                     .errorDomain = "Quillon.XPCConnection",
                                     .errorCode = 4097,
                                     .errorDescription = "The installer launcher XPC connection was interrupted."}));
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, AnErrorWhileTheConnectionIsMadeInvalidatesIt) {
  factory_->whenMade = [this] { factory_->errorHandler(installerLauncherServiceConnectionInvalidated()); };
  factory_->connection->canSend = false;

  EXPECT_EQ(launch(),
            Result::protocolFailure({.phase = Phase::xpcConnection,
                                     .errorDomain = "Quillon.XPCConnection",
                                     .errorCode = 4099,
                                     .errorDescription = "The installer launcher XPC connection was invalidated."}));

  EXPECT_EQ(factory_->connection->calls().front(), "invalidate");
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, ProgressIsPassedOnInItsOrder) {
  whenSubmitted([this](const Connection::Reply& reply) {
    factory_->progressHandler(Progress::handoffStarted());
    factory_->progressHandler(Progress::authorizationRequired({}));
    factory_->progressHandler(Progress::authorizationBegan());
    factory_->progressHandler(Progress::authorizationEnded(5));
    factory_->progressHandler(Progress::jobSubmitted());
    reply(Result::launched());
  });

  EXPECT_EQ(launch(), Result::launched());

  EXPECT_THAT(progress_, ElementsAre("handoffStarted", "authorizationRequired", "authorizationBegan",
                                     "authorizationEnded", "jobSubmitted"));
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, AnEventThatIsLateFindsTheHandlerItWasMeantFor) {
  whenSubmitted([](const Connection::Reply& reply) { reply(Result::launched()); });
  std::vector<std::string> late;
  VeskAppBundleXPCUpdateHelperLauncher launcher(factory_, "service", kBefore, kAfter, timers_);
  {
    const VeskAppBundleInstallerLaunchProgressHandler handler = [&late](const Progress& progress) {
      late.emplace_back(progress.caseName());
    };
    EXPECT_EQ(launcher.launchReplacement(request(), handler), Result::launched());
  }

  factory_->progressHandler(Progress::jobSubmitted());

  EXPECT_THAT(late, ElementsAre("jobSubmitted"));
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, TheTimeBeforeTheDialogIsLimited) {
  whenSubmitted([this](const Connection::Reply& /*reply*/) {
    factory_->progressHandler(Progress::handoffStarted());
    timers_->advance(kBefore);
  });

  EXPECT_EQ(launch(), Result::timedOut(Phase::preAuthorization));
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, AReplyAfterTheTimeoutIsIgnoredAndTheConnectionInvalidated) {
  whenSubmitted([this](const Connection::Reply& reply) {
    timers_->advance(kBefore);
    EXPECT_THAT(factory_->connection->calls(), ElementsAre("resume", "launchReplacement", "invalidate"));
    reply(Result::launched());
  });

  EXPECT_EQ(launch(), Result::timedOut(Phase::preAuthorization));
  factory_->connection->reply(Result::launched());
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, ATimeoutAfterTheReplyIsIgnored) {
  whenSubmitted([this](const Connection::Reply& reply) {
    const auto turn = timers_->takeNext();
    reply(Result::launched());
    turn();
  });

  EXPECT_EQ(launch(), Result::launched());
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, ATimeoutOfZeroBeforeTheDialogIsNoTimer) {
  whenSubmitted([this](const Connection::Reply& reply) {
    EXPECT_EQ(timers_->scheduledCount(), 0U);
    timers_->advance(kLongDialog);
    reply(Result::launched());
  });

  EXPECT_EQ(launch(0), Result::launched());
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, ATimeoutOfZeroAfterTheDialogIsNoTimer) {
  whenSubmitted([this](const Connection::Reply& reply) {
    factory_->progressHandler(Progress::authorizationBegan());
    factory_->progressHandler(Progress::authorizationEnded(1));
    timers_->advance(kLongDialog);
    reply(Result::launched());
  });

  EXPECT_EQ(launch(kBefore, 0), Result::launched());
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, TheDialogItselfHasNoLimit) {
  whenSubmitted([this](const Connection::Reply& reply) {
    timers_->advance(kBefore - 1);
    factory_->progressHandler(Progress::authorizationBegan());
    EXPECT_EQ(timers_->waitingCount(), 0U);
    timers_->advance(kLongDialog);
    factory_->progressHandler(Progress::authorizationEnded(kLongDialog));
    timers_->advance(kAfter - 1);
    reply(Result::launched());
  });

  EXPECT_EQ(launch(), Result::launched());
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, TheTimeAfterTheDialogIsLimited) {
  whenSubmitted([this](const Connection::Reply& /*reply*/) {
    factory_->progressHandler(Progress::authorizationBegan());
    timers_->advance(kLongDialog);
    factory_->progressHandler(Progress::authorizationEnded(kLongDialog));
    timers_->advance(kAfter);
  });

  EXPECT_EQ(launch(), Result::timedOut(Phase::postAuthorization));
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, ATimerThatTheDialogOvertakesDoesNothing) {
  whenSubmitted([this](const Connection::Reply& reply) {
    const auto turn = timers_->takeNext();
    factory_->progressHandler(Progress::authorizationBegan());
    turn();
    reply(Result::launched());
  });

  EXPECT_EQ(launch(), Result::launched());
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, AnInvalidationAfterTheReplyChangesNothing) {
  whenSubmitted([this](const Connection::Reply& reply) {
    reply(Result::launched());
    factory_->errorHandler(installerLauncherServiceConnectionInvalidated());
    reply(Result::helperUnavailable());
  });

  EXPECT_EQ(launch(), Result::launched());
  factory_->errorHandler(installerLauncherServiceConnectionInvalidated());
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, AReplyAfterAnErrorChangesNothing) {
  whenSubmitted([this](const Connection::Reply& reply) {
    factory_->errorHandler(installerLauncherServiceConnectionInterrupted());
    reply(Result::launched());
  });

  EXPECT_EQ(launch().caseName(), "protocolFailure");
  EXPECT_THAT(factory_->connection->calls(), ElementsAre("resume", "launchReplacement", "invalidate"));
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, AnErrorAfterATimeoutChangesNothing) {
  whenSubmitted([this](const Connection::Reply& /*reply*/) {
    timers_->advance(kBefore);
    factory_->errorHandler(installerLauncherServiceConnectionInterrupted());
  });

  EXPECT_EQ(launch(), Result::timedOut(Phase::preAuthorization));
  EXPECT_THAT(factory_->connection->calls(), ElementsAre("resume", "launchReplacement", "invalidate"));
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, ATimersTurnAfterAnErrorChangesNothing) {
  whenSubmitted([this](const Connection::Reply& /*reply*/) {
    const auto turn = timers_->takeNext();
    factory_->errorHandler(installerLauncherServiceConnectionInterrupted());
    turn();
  });

  EXPECT_EQ(launch().caseName(), "protocolFailure");
  EXPECT_THAT(factory_->connection->calls(), ElementsAre("resume", "launchReplacement", "invalidate"));
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, TheOutcomeCancelsTheTimer) {
  whenSubmitted([](const Connection::Reply& reply) { reply(Result::launched()); });

  EXPECT_EQ(launch(), Result::launched());

  EXPECT_EQ(timers_->scheduledCount(), 1U);
  EXPECT_EQ(timers_->waitingCount(), 0U);
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, AnEndOfTheDialogAfterTheOutcomeStartsNoTimer) {
  whenSubmitted([this](const Connection::Reply& reply) {
    reply(Result::launched());
    factory_->progressHandler(Progress::authorizationEnded(1));
  });

  EXPECT_EQ(launch(), Result::launched());

  EXPECT_EQ(timers_->waitingCount(), 0U);
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, WaitsForAReplyFromAnotherThread) {
  std::jthread service;
  whenSubmitted(
      [&service](const Connection::Reply& reply) { service = std::jthread([reply] { reply(Result::launched()); }); });

  EXPECT_EQ(launch(), Result::launched());
}

TEST_F(VeskAppBundleXPCUpdateHelperLauncherTest, OneResultWhicheverComesFirstUnderStress) {
  const auto timers = std::make_shared<QuillonTimerThread>();
  for (int round = 0; round < 100; ++round) {
    auto factory = std::make_shared<FakeLauncherServiceConnectionFactory>();
    std::latch start(3);
    std::vector<std::jthread> threads;
    factory->connection->whenSubmitted = [&](const Connection::Reply& reply) {
      threads.emplace_back([&start, reply] {
        start.arrive_and_wait();
        reply(Result::launched());
      });
      threads.emplace_back([&start, handler = factory->errorHandler] {
        start.arrive_and_wait();
        handler(installerLauncherServiceConnectionInterrupted());
      });
      threads.emplace_back([&start, handler = factory->progressHandler] {
        start.arrive_and_wait();
        handler(Progress::authorizationBegan());
        handler(Progress::authorizationEnded(1));
      });
    };
    VeskAppBundleXPCUpdateHelperLauncher launcher(factory, "service", round % 2 == 0 ? 1 : kLongDialog, 1, timers);

    // The third thread may outlive the launch: it calls the launcher's copy.
    const VeskAppBundleInstallerLaunchProgressHandler passOver = [](const Progress& /*progress*/) {};
    const Result result = launcher.launchReplacement(request(), passOver);

    threads.clear();
    EXPECT_THAT(result.caseName(), ::testing::AnyOf("launched", "protocolFailure", "timedOut"));
  }
}

}  // namespace
}  // namespace quillon
