#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <limits>
#include <memory>
#include <thread>
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
  std::atomic<bool> didReturn = false;
  auto timers = std::make_unique<QuillonTimerThread>();
  const auto timer = timers->schedule(0, [&] {
    isRunning.push(true);
    // Other threads have every chance to get on meanwhile.
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
    didReturn = true;
  });

  isRunning.pop();
  timers.reset();

  EXPECT_TRUE(didReturn);
}

TEST(QuillonTimerThreadTest, ManyThreadsMayScheduleAndCancelAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kTimers = 200;
  std::atomic<int> runs = 0;
  auto timers = std::make_unique<QuillonTimerThread>();
  std::latch start(kThreads);
  std::vector<std::jthread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (int count = 0; count < kTimers; ++count) {
        auto timer = timers->schedule(static_cast<std::uint64_t>(count % 3), [&] { ++runs; });
        if (count % 2 == 0) std::this_thread::yield();
        timer->cancel();
      }
    });
  }
  threads.clear();
  timers.reset();

  EXPECT_LE(runs, kThreads * kTimers);
}

}  // namespace
}  // namespace quillon
