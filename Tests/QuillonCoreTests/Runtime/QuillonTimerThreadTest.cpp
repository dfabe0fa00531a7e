#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <latch>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/QuillonTimerThread.h"
#include "Support/BlockingQueue.h"

namespace quillon {
namespace {

using testing::BlockingQueue;

constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

TEST(QuillonTimerThreadTest, FunctionsRunOnAThreadOfItsOwn) {
  BlockingQueue<std::thread::id> threads;
  QuillonTimerThread timers;

  const auto first = timers.schedule(0, [&] { threads.push(std::this_thread::get_id()); });
  const auto second = timers.schedule(1, [&] { threads.push(std::this_thread::get_id()); });

  const std::thread::id thread = threads.pop();
  EXPECT_NE(thread, std::this_thread::get_id());
  EXPECT_EQ(threads.pop(), thread);
}

TEST(QuillonTimerThreadTest, AnEarlierTimerIsNotHeldUpByALaterOne) {
  BlockingQueue<bool> ran;
  QuillonTimerThread timers;

  const auto later = timers.schedule(kNever, [] { FAIL(); });
  const auto sooner = timers.schedule(1, [&] { ran.push(true); });

  EXPECT_TRUE(ran.pop());
}

TEST(QuillonTimerThreadTest, AFunctionMayLetTheLastOwnerGo) {
  BlockingQueue<bool> gone;
  auto timers = std::make_shared<QuillonTimerThread>();
  BlockingQueue<bool> isOwned;
  const auto timer = timers->schedule(0, [&gone, &isOwned, &timers] {
    isOwned.pop();
    timers.reset();
    gone.push(true);
  });

  isOwned.push(true);

  EXPECT_TRUE(gone.pop());
  timer->cancel();
}

TEST(QuillonTimerThreadTest, DestroyingItWaitsForAFunctionThatRuns) {
  BlockingQueue<bool> isRunning;
  BlockingQueue<bool> isLettingGo;
  BlockingQueue<bool> isReleased;
  BlockingQueue<std::string> order;
  auto timers = std::make_unique<QuillonTimerThread>();
  const auto timer = timers->schedule(0, [&] {
    isRunning.push(true);
    isReleased.pop();
    order.push("the function returns");
  });
  const std::jthread releasing([&] {
    isLettingGo.pop();
    // The thread that lets go has every chance to get past it.
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
    isReleased.push(true);
  });

  isRunning.pop();
  isLettingGo.push(true);
  timers.reset();
  order.push("let go");

  EXPECT_EQ(order.pop(), "the function returns");
  EXPECT_EQ(order.pop(), "let go");
}

TEST(QuillonTimerThreadTest, ManyThreadsMayScheduleAndCancelAtOnce) {
  constexpr std::size_t kThreads = 4;
  constexpr std::size_t kTimers = 200;
  std::vector<std::atomic<int>> runs(kThreads * kTimers);
  std::array<std::vector<std::unique_ptr<QuillonTimer>>, kThreads> kept;
  BlockingQueue<bool> keptRuns;
  auto timers = std::make_unique<QuillonTimerThread>();
  std::latch start(kThreads);
  std::vector<std::jthread> threads;
  threads.reserve(kThreads);
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      start.arrive_and_wait();
      for (std::size_t count = 0; count < kTimers; ++count) {
        const bool isKept = count % 2 == 0;
        auto timer = timers->schedule(count % 3, [&runs, &keptRuns, number = i * kTimers + count, isKept] {
          ++runs[number];
          if (isKept) keptRuns.push(true);
        });
        if (isKept) {
          kept[i].push_back(std::move(timer));
        } else {
          timer->cancel();
        }
      }
    });
  }
  for (std::size_t count = 0; count < kThreads * kTimers / 2; ++count) keptRuns.pop();
  threads.clear();
  timers.reset();

  EXPECT_TRUE(keptRuns.isEmpty());
  for (std::size_t number = 0; number < runs.size(); ++number) {
    // One that was cancelled may have had its turn before.
    EXPECT_LE(runs[number], 1);
    if (number % 2 == 0) {
      EXPECT_EQ(runs[number], 1);
    }
  }
}

}  // namespace
}  // namespace quillon
