#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

#include "QuillonCore/Runtime/QuillonTimerThread.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchWatchdog.h"
#include "Support/BlockingQueue.h"
#include "Support/ManualTimers.h"

namespace quillon {
namespace {

using Phase = VeskAppBundleInstallerLaunchPhase;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::ManualTimers;

/// Each step of each row of the table in the header.
class VeskAppBundleXPCLaunchWatchdogTest : public ::testing::Test {
 protected:
  void arm(std::uint64_t nanoseconds, Phase phase = Phase::preAuthorization) {
    watchdog_->armTimeout(nanoseconds, phase, [this](Phase late) { timeouts_.push_back(late); });
  }

  std::shared_ptr<ManualTimers> timers_ = std::make_shared<ManualTimers>();
  std::shared_ptr<VeskAppBundleXPCLaunchWatchdog> watchdog_ =
      std::make_shared<VeskAppBundleXPCLaunchWatchdog>(10, 20, timers_);
  std::vector<Phase> timeouts_;
};

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, KnowsTheTimeoutsOfItsLaunch) {
  EXPECT_EQ(watchdog_->preAuthorizationTimeoutNanoseconds(), 10U);
  EXPECT_EQ(watchdog_->postAuthorizationTimeoutNanoseconds(), 20U);
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, ATimeoutTellsItsPhaseOnce) {
  arm(10, Phase::postAuthorization);

  timers_->advance(9);
  EXPECT_THAT(timeouts_, IsEmpty());
  timers_->advance(1);
  timers_->advance(100);

  EXPECT_THAT(timeouts_, ElementsAre(Phase::postAuthorization));
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, ATimeoutOfZeroIsNoLimit) {
  arm(0);

  EXPECT_EQ(timers_->scheduledCount(), 0U);
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, ATimeoutOfZeroTakesAnEarlierLimitAway) {
  arm(10);
  arm(0);

  EXPECT_EQ(timers_->waitingCount(), 0U);
  timers_->advance(100);
  EXPECT_THAT(timeouts_, IsEmpty());
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, ArmingAnewReplacesTheTimer) {
  arm(10, Phase::preAuthorization);
  arm(20, Phase::postAuthorization);

  EXPECT_EQ(timers_->waitingCount(), 1U);
  timers_->advance(100);
  EXPECT_THAT(timeouts_, ElementsAre(Phase::postAuthorization));
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, PausedItHasNoLimitAndCanBeArmedAgain) {
  arm(10, Phase::preAuthorization);
  watchdog_->pause();

  EXPECT_EQ(timers_->waitingCount(), 0U);
  timers_->advance(1'000'000);
  EXPECT_THAT(timeouts_, IsEmpty());
  arm(20, Phase::postAuthorization);
  timers_->advance(20);
  EXPECT_THAT(timeouts_, ElementsAre(Phase::postAuthorization));
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, PausingWithoutATimerDoesNothing) {
  watchdog_->pause();
  arm(10);
  timers_->advance(10);

  EXPECT_THAT(timeouts_, ElementsAre(Phase::preAuthorization));
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, CancelledItCannotBeArmedAgain) {
  arm(10);
  watchdog_->cancel();
  arm(10);
  watchdog_->pause();
  arm(10);
  watchdog_->cancel();

  EXPECT_EQ(timers_->waitingCount(), 0U);
  EXPECT_EQ(timers_->scheduledCount(), 1U);
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, AfterATimeoutItCannotBeArmedAgain) {
  arm(10);
  timers_->advance(10);
  arm(10);
  timers_->advance(10);

  EXPECT_THAT(timeouts_, ElementsAre(Phase::preAuthorization));
  EXPECT_EQ(timers_->scheduledCount(), 1U);
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, OnlyTheLatestGenerationIsConsumedAndOnce) {
  arm(10);
  arm(10);

  EXPECT_FALSE(watchdog_->consumeTimeout(0));
  EXPECT_FALSE(watchdog_->consumeTimeout(1));
  EXPECT_FALSE(watchdog_->consumeTimeout(3));
  EXPECT_TRUE(watchdog_->consumeTimeout(2));
  EXPECT_FALSE(watchdog_->consumeTimeout(2));
  EXPECT_EQ(timers_->waitingCount(), 0U);
}

// Races, each forced by hand: the timer's turn has come, past every cancellation, when the other step is taken.

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, ATimerThatIsPausedInItsTurnDoesNothing) {
  arm(10);
  const auto turn = timers_->takeNext();
  watchdog_->pause();

  turn();

  EXPECT_THAT(timeouts_, IsEmpty());
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, ATimerThatIsCancelledInItsTurnDoesNothing) {
  arm(10);
  const auto turn = timers_->takeNext();
  watchdog_->cancel();

  turn();

  EXPECT_THAT(timeouts_, IsEmpty());
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, ATimerThatIsReplacedInItsTurnDoesNothing) {
  arm(10, Phase::preAuthorization);
  const auto turn = timers_->takeNext();
  arm(20, Phase::postAuthorization);

  turn();
  EXPECT_THAT(timeouts_, IsEmpty());
  timers_->advance(20);

  EXPECT_THAT(timeouts_, ElementsAre(Phase::postAuthorization));
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, ATimerThatRunsOutBeforeThePauseCounts) {
  arm(10);
  timers_->takeNext()();
  watchdog_->pause();

  EXPECT_THAT(timeouts_, ElementsAre(Phase::preAuthorization));
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, ATimerThatRunsOutBeforeTheCancellationCounts) {
  arm(10);
  timers_->takeNext()();
  watchdog_->cancel();

  EXPECT_THAT(timeouts_, ElementsAre(Phase::preAuthorization));
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, ATimerThatRunsOutBeforeItIsKeptCounts) {
  timers_->setAfterScheduling([this] { timers_->takeNext()(); });
  arm(10);

  EXPECT_THAT(timeouts_, ElementsAre(Phase::preAuthorization));
  EXPECT_FALSE(watchdog_->consumeTimeout(1));
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, APauseOvertakesTheTimerThatIsBeingStarted) {
  timers_->setAfterScheduling([this] { watchdog_->pause(); });
  arm(10);

  EXPECT_EQ(timers_->waitingCount(), 0U);
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, ACancellationOvertakesTheTimerThatIsBeingStarted) {
  timers_->setAfterScheduling([this] { watchdog_->cancel(); });
  arm(10);

  EXPECT_EQ(timers_->waitingCount(), 0U);
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, ALaterArmOvertakesTheTimerThatIsBeingStarted) {
  timers_->setAfterScheduling([this] {
    timers_->setAfterScheduling({});
    arm(20, Phase::postAuthorization);
  });
  arm(10, Phase::preAuthorization);

  EXPECT_EQ(timers_->waitingCount(), 1U);
  timers_->advance(100);
  EXPECT_THAT(timeouts_, ElementsAre(Phase::postAuthorization));
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, ATimerDoesNotKeepTheWatchdog) {
  arm(10);
  const auto turn = timers_->takeNext();
  const std::weak_ptr<VeskAppBundleXPCLaunchWatchdog> watched = watchdog_;
  watchdog_.reset();

  EXPECT_TRUE(watched.expired());
  turn();
  EXPECT_THAT(timeouts_, IsEmpty());
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, LettingTheWatchdogGoCancelsItsTimer) {
  arm(10);
  watchdog_.reset();

  EXPECT_EQ(timers_->waitingCount(), 0U);
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, TheHandlerMayUseTheWatchdog) {
  watchdog_->armTimeout(10, Phase::preAuthorization, [this](Phase late) {
    watchdog_->cancel();
    watchdog_->pause();
    arm(10);
    timeouts_.push_back(late);
  });
  timers_->advance(100);

  EXPECT_THAT(timeouts_, ElementsAre(Phase::preAuthorization));
}

TEST_F(VeskAppBundleXPCLaunchWatchdogTest, OneTimeoutAtMostUnderStress) {
  constexpr int kThreads = 3;
  const auto timers = std::make_shared<QuillonTimerThread>();
  for (int round = 0; round < 100; ++round) {
    std::atomic<int> timeouts = 0;
    const auto watchdog = std::make_shared<VeskAppBundleXPCLaunchWatchdog>(1, 1, timers);
    std::latch start(kThreads);
    std::vector<std::jthread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        start.arrive_and_wait();
        for (int step = 0; step < 10; ++step) {
          watchdog->armTimeout(1 + static_cast<std::uint64_t>(step), Phase::preAuthorization,
                               [&](Phase /*late*/) { ++timeouts; });
          if (i == 0) watchdog->pause();
        }
        if (i == 1 && round % 2 == 0) watchdog->cancel();
      });
    }
    threads.clear();
    watchdog->cancel();
    // A handler whose turn had come runs before this one.
    testing::BlockingQueue<bool> isIdle;
    const auto last = timers->schedule(0, [&] { isIdle.push(true); });
    isIdle.pop();
    EXPECT_LE(timeouts, 1);
  }
}

}  // namespace
}  // namespace quillon
