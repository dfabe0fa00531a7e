#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>

#include "QuillonCore/Runtime/QuillonMainThreadCall.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/BlockingQueue.h"
#include "Support/ManualMainThread.h"

namespace quillon {
namespace {

using testing::BlockingQueue;
using testing::ManualMainThread;

/// A thread that calls the main thread, and what came of it.
class Caller {
 public:
  explicit Caller(std::function<std::string()> call)
      : thread_([this, call = std::move(call)] {
          try {
            outcomes_.push(call());
          } catch (const QuillonCancellationError&) {
            outcomes_.push("cancelled");
          } catch (const QuillonError& error) {
            outcomes_.push(error.description());
          }
        }) {}

  std::string outcome() { return outcomes_.pop(); }
  [[nodiscard]] bool isWaiting() const { return outcomes_.isEmpty(); }

 private:
  BlockingQueue<std::string> outcomes_;
  std::jthread thread_;
};

TEST(QuillonMainThreadCallTest, TheCallReturnsTheResultOfTheMainThread) {
  ManualMainThread mainThread;
  Caller caller([&] {
    return onMainThread(mainThread, [&] { return std::string(mainThread.isMainThread() ? "main" : "other"); });
  });

  mainThread.runNext();

  EXPECT_EQ(caller.outcome(), "main");
}

TEST(QuillonMainThreadCallTest, TheCallWaitsForItsTurn) {
  ManualMainThread mainThread;
  Caller caller([&] {
    onMainThread(mainThread, [] {});
    return "done";
  });

  mainThread.waitForWaiting(1);

  EXPECT_TRUE(caller.isWaiting());
  mainThread.runNext();
  EXPECT_EQ(caller.outcome(), "done");
}

TEST(QuillonMainThreadCallTest, WhatTheFunctionThrowsIsThrownToTheCaller) {
  ManualMainThread mainThread;
  Caller caller([&]() -> std::string {
    onMainThread(mainThread, [] { throw QuillonError("from the main thread"); });
    return "done";
  });

  mainThread.runNext();

  EXPECT_EQ(caller.outcome(), "from the main thread");
}

TEST(QuillonMainThreadCallTest, TheMainThreadItselfCallsAtOnce) {
  ManualMainThread mainThread;
  bool didRun = false;

  onMainThread(mainThread, [&] { didRun = true; });

  EXPECT_TRUE(didRun);
  EXPECT_EQ(mainThread.waitingCount(), 0U);
  EXPECT_EQ(onMainThread(mainThread, [] { return std::make_unique<int>(7); }).operator*(), 7);
  EXPECT_THROW(onMainThread(mainThread, [] { throw QuillonError("inline"); }), QuillonError);
}

TEST(QuillonMainThreadCallTest, AStopBeforeItsTurnEndsTheCallAndTheFunctionNeverRuns) {
  ManualMainThread mainThread;
  std::stop_source stop;
  bool didRun = false;
  Caller caller([&]() -> std::string {
    onMainThread(
        mainThread, [&] { didRun = true; }, stop.get_token());
    return "done";
  });
  mainThread.waitForWaiting(1);

  stop.request_stop();
  EXPECT_EQ(caller.outcome(), "cancelled");
  mainThread.runNext();

  EXPECT_FALSE(didRun);
}

TEST(QuillonMainThreadCallTest, AStopWhileTheFunctionRunsComesTooLate) {
  ManualMainThread mainThread;
  std::stop_source stop;
  bool wasWaiting = false;
  Caller* waiting = nullptr;
  Caller caller([&]() -> std::string {
    onMainThread(
        mainThread,
        [&] {
          stop.request_stop();
          wasWaiting = waiting->isWaiting();
        },
        stop.get_token());
    return "done";
  });
  waiting = &caller;

  mainThread.runNext();

  EXPECT_EQ(caller.outcome(), "done");
  EXPECT_TRUE(wasWaiting);
}

TEST(QuillonMainThreadCallTest, AStopBeforehandPostsNothing) {
  ManualMainThread mainThread;
  std::stop_source stop;
  stop.request_stop();

  Caller caller([&]() -> std::string {
    onMainThread(
        mainThread, [] {}, stop.get_token());
    return "done";
  });

  EXPECT_EQ(caller.outcome(), "cancelled");
  EXPECT_EQ(mainThread.waitingCount(), 0U);
}

TEST(QuillonMainThreadCallTest, AMainThreadThatEndsCancelsTheCall) {
  ManualMainThread mainThread;
  Caller caller([&]() -> std::string {
    onMainThread(mainThread, [] {});
    return "done";
  });

  // Taken out and dropped, as a main thread does that ends.
  (void)mainThread.takeNext();

  EXPECT_EQ(caller.outcome(), "cancelled");
}

TEST(QuillonMainThreadCallTest, StopsAndTurnsThatRaceEndEveryCallOnce) {
  ManualMainThread mainThread;
  int ran = 0;
  for (int i = 0; i < 200; ++i) {
    std::stop_source stop;
    Caller caller([&]() -> std::string {
      onMainThread(
          mainThread, [&] { ++ran; }, stop.get_token());
      return "done";
    });
    mainThread.waitForWaiting(1);
    const int before = ran;
    const std::jthread stopper([&] { stop.request_stop(); });

    mainThread.runNext();

    EXPECT_EQ(caller.outcome(), ran == before ? "cancelled" : "done");
  }
}

}  // namespace
}  // namespace quillon
