// What every scheduler of timers promises, run against the system's own and against the one that tests move by hand.

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>

#include "QuillonCore/Contracts/QuillonTimerScheduling.h"
#include "QuillonCore/Runtime/QuillonTimerThread.h"
#include "Support/BlockingQueue.h"
#include "Support/ManualTimers.h"

namespace quillon {
namespace {

using testing::BlockingQueue;
using testing::ManualTimers;

constexpr std::uint64_t kMillisecond = 1'000'000;
constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

/// A scheduler and what makes its time pass.
struct Scheduler {
  std::shared_ptr<QuillonTimerScheduling> timers;
  std::function<void()> letTimePass;
};

struct Implementation {
  friend void PrintTo(const Implementation& implementation, std::ostream* out) { *out << implementation.name; }

  std::string name;
  std::function<Scheduler()> make;
};

class QuillonTimerSchedulingContract : public ::testing::TestWithParam<Implementation> {
 protected:
  std::unique_ptr<QuillonTimer> schedule(std::uint64_t nanoseconds, const std::string& name) {
    return scheduler_.timers->schedule(nanoseconds, [this, name] { ran_.push(name); });
  }

  /// A function that runs only after letTimePass, when the test has put everything in its place.
  std::unique_ptr<QuillonTimer> whenScheduled(std::uint64_t nanoseconds, std::function<void()> function) {
    return scheduler_.timers->schedule(nanoseconds, [this, function = std::move(function)] {
      isScheduled_.pop();
      function();
    });
  }

  void letTimePass() {
    isScheduled_.push(true);
    scheduler_.letTimePass();
  }

  BlockingQueue<std::string> ran_;
  BlockingQueue<bool> isScheduled_;
  Scheduler scheduler_ = GetParam().make();
};

TEST_P(QuillonTimerSchedulingContract, FunctionsRunInTheOrderOfTheirTimes) {
  const auto early = schedule(kMillisecond, "early");
  const auto between = schedule(2 * kMillisecond, "between");
  const auto late = schedule(3 * kMillisecond, "late");
  letTimePass();

  EXPECT_EQ(ran_.pop(), "early");
  EXPECT_EQ(ran_.pop(), "between");
  EXPECT_EQ(ran_.pop(), "late");
  EXPECT_TRUE(ran_.isEmpty());
}

TEST_P(QuillonTimerSchedulingContract, NoTimeAtAllIsTheNextMoment) {
  const auto timer = schedule(0, "ran");
  letTimePass();

  EXPECT_EQ(ran_.pop(), "ran");
}

TEST_P(QuillonTimerSchedulingContract, ACancelledFunctionDoesNotRun) {
  std::unique_ptr<QuillonTimer> cancelled;
  // From within a function, so that the other one's time cannot have come before.
  const auto first = whenScheduled(kMillisecond, [&] {
    cancelled->cancel();
    cancelled->cancel();
  });
  cancelled = schedule(2 * kMillisecond, "cancelled");
  const auto kept = schedule(3 * kMillisecond, "kept");
  letTimePass();

  EXPECT_EQ(ran_.pop(), "kept");
  EXPECT_TRUE(ran_.isEmpty());
}

TEST_P(QuillonTimerSchedulingContract, LettingATimerGoCancelsIt) {
  std::unique_ptr<QuillonTimer> cancelled;
  const auto first = whenScheduled(kMillisecond, [&] { cancelled.reset(); });
  cancelled = schedule(2 * kMillisecond, "cancelled");
  const auto kept = schedule(3 * kMillisecond, "kept");
  letTimePass();

  EXPECT_EQ(ran_.pop(), "kept");
  EXPECT_TRUE(ran_.isEmpty());
}

TEST_P(QuillonTimerSchedulingContract, CancellingAfterTheRunDoesNoHarm) {
  const auto timer = schedule(kMillisecond, "ran");
  letTimePass();
  EXPECT_EQ(ran_.pop(), "ran");

  timer->cancel();
}

TEST_P(QuillonTimerSchedulingContract, MoreTimeThanTheClockHasIsFarAway) {
  const auto never = schedule(kNever, "never");
  const auto soon = schedule(kMillisecond, "soon");
  letTimePass();

  EXPECT_EQ(ran_.pop(), "soon");
  EXPECT_TRUE(ran_.isEmpty());
}

TEST_P(QuillonTimerSchedulingContract, AFunctionMayScheduleTheNextAndCancelItself) {
  std::unique_ptr<QuillonTimer> first;
  std::unique_ptr<QuillonTimer> second;
  first = whenScheduled(kMillisecond, [&] {
    first->cancel();
    second = schedule(kMillisecond, "second");
  });
  letTimePass();

  EXPECT_EQ(ran_.pop(), "second");
}

TEST_P(QuillonTimerSchedulingContract, AFunctionIsDestroyedOnceItHasRun) {
  auto owned = std::make_shared<int>(1);
  const std::weak_ptr<int> watched = owned;
  const auto first =
      scheduler_.timers->schedule(kMillisecond, [this, owned = std::move(owned)] { ran_.push("first"); });
  const auto second = schedule(2 * kMillisecond, "second");
  letTimePass();

  EXPECT_EQ(ran_.pop(), "first");
  EXPECT_EQ(ran_.pop(), "second");
  EXPECT_TRUE(watched.expired());
}

TEST_P(QuillonTimerSchedulingContract, AFunctionIsDestroyedOnceItIsCancelled) {
  auto owned = std::make_shared<int>(1);
  const std::weak_ptr<int> watched = owned;
  const auto timer = scheduler_.timers->schedule(kNever, [owned = std::move(owned)] { (void)*owned; });

  timer->cancel();

  EXPECT_TRUE(watched.expired());
}

TEST_P(QuillonTimerSchedulingContract, AFunctionThatHasRunMayBeTheLastOwnerOfAnotherTimer) {
  std::shared_ptr<QuillonTimer> other = schedule(kNever, "other");
  const auto owner = scheduler_.timers->schedule(0, [this, owned = std::move(other)] { ran_.push("owner"); });
  const auto next = schedule(kMillisecond, "next");
  letTimePass();

  EXPECT_EQ(ran_.pop(), "owner");
  EXPECT_EQ(ran_.pop(), "next");
}

TEST_P(QuillonTimerSchedulingContract, AFunctionThatIsCancelledMayBeTheLastOwnerOfAnotherTimer) {
  std::shared_ptr<QuillonTimer> other = schedule(kNever, "other");
  const std::weak_ptr<QuillonTimer> watched = other;
  const auto owner = scheduler_.timers->schedule(kNever, [owned = std::move(other)] { owned->cancel(); });

  owner->cancel();

  EXPECT_TRUE(watched.expired());
}

TEST_P(QuillonTimerSchedulingContract, ATimerWithoutAFunctionIsRefused) {
  EXPECT_THROW((void)scheduler_.timers->schedule(0, nullptr), std::invalid_argument);
  const auto next = schedule(0, "next");
  letTimePass();

  EXPECT_EQ(ran_.pop(), "next");
}

TEST_P(QuillonTimerSchedulingContract, ATimerMayOutliveItsScheduler) {
  auto owned = std::make_shared<int>(1);
  const std::weak_ptr<int> watched = owned;
  const auto timer = scheduler_.timers->schedule(kNever, [owned = std::move(owned)] { (void)*owned; });

  scheduler_ = {};

  EXPECT_TRUE(watched.expired());
  timer->cancel();
}

INSTANTIATE_TEST_SUITE_P(Timers, QuillonTimerSchedulingContract,
                         ::testing::Values(Implementation{"TimerThread",
                                                          [] {
                                                            return Scheduler{
                                                                .timers = std::make_shared<QuillonTimerThread>(),
                                                                .letTimePass = [] {}};
                                                          }},
                                           Implementation{"ManualTimers",
                                                          [] {
                                                            auto timers = std::make_shared<ManualTimers>();
                                                            return Scheduler{.timers = timers,
                                                                             .letTimePass = [moved = timers.get()] {
                                                                               moved->advance(10 * kMillisecond);
                                                                             }};
                                                          }}),
                         [](const auto& testCase) { return testCase.param.name; });

}  // namespace
}  // namespace quillon
