#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "QuillonCore/Runtime/QuillonMainThreadQueue.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;

TEST(QuillonMainThreadQueueTest, RunningGoesOnUntilAStopIsRequested) {
  QuillonMainThreadQueue queue;
  std::stop_source stop;
  std::vector<std::string> ran;

  const std::jthread other([&] {
    queue.post([&] { ran.emplace_back("first"); });
    queue.post([&] {
      ran.emplace_back("second");
      stop.request_stop();
    });
  });
  queue.run(stop.get_token());

  EXPECT_THAT(ran, ElementsAre("first", "second"));
}

TEST(QuillonMainThreadQueueTest, AStopFromAnotherThreadEndsAWaitForFunctions) {
  QuillonMainThreadQueue queue;
  std::stop_source stop;

  const std::jthread other([&] { stop.request_stop(); });
  queue.run(stop.get_token());

  EXPECT_TRUE(stop.stop_requested());
}

TEST(QuillonMainThreadQueueTest, WhatWaitsAtTheStopStaysForTheNextRun) {
  QuillonMainThreadQueue queue;
  std::stop_source stop;
  std::vector<std::string> ran;
  queue.post([&] { stop.request_stop(); });
  queue.post([&] { ran.emplace_back("later"); });

  queue.run(stop.get_token());

  EXPECT_TRUE(ran.empty());
  queue.drain();
  EXPECT_THAT(ran, ElementsAre("later"));
}

TEST(QuillonMainThreadQueueTest, AFunctionMayRunTheQueueItself) {
  QuillonMainThreadQueue queue;
  std::vector<std::string> ran;
  queue.post([&] {
    queue.drain();
    ran.emplace_back("outer");
  });
  queue.post([&] { ran.emplace_back("inner"); });

  queue.drain();

  EXPECT_THAT(ran, ElementsAre("inner", "outer"));
}

TEST(QuillonMainThreadQueueTest, WhatTheDroppedPostWhileTheyGoIsDroppedToo) {
  struct PostsWhenItGoes {
    explicit PostsWhenItGoes(QuillonMainThreadQueue* to) : queue(to) {}
    ~PostsWhenItGoes() {
      queue->post([] { FAIL() << "ran after the end"; });
    }
    PostsWhenItGoes(const PostsWhenItGoes&) = delete;
    PostsWhenItGoes& operator=(const PostsWhenItGoes&) = delete;
    QuillonMainThreadQueue* queue;
  };
  auto queue = std::make_unique<QuillonMainThreadQueue>();
  const auto poster = std::make_shared<bool>(true);
  queue->post([held = std::make_shared<PostsWhenItGoes>(queue.get()), poster] {});

  queue.reset();

  EXPECT_EQ(poster.use_count(), 1);
}

TEST(QuillonMainThreadQueueTest, ATurnRunsOneFunctionAndAsksBeforeItForATurnForThoseBehindIt) {
  QuillonMainThreadQueue queue;
  std::vector<std::string> ran;
  const auto othersWait = [&] { ran.emplace_back("others wait"); };
  queue.post([&] { ran.emplace_back("first"); });
  queue.post([&] { ran.emplace_back("second"); });

  queue.runNext(othersWait);
  EXPECT_THAT(ran, ElementsAre("others wait", "first"));

  queue.runNext(othersWait);
  queue.runNext(othersWait);
  EXPECT_THAT(ran, ElementsAre("others wait", "first", "second"));
}

TEST(QuillonMainThreadQueueTest, AFunctionMayEndTheQueueThatRunsIt) {
  QuillonMainThreadQueue queue;
  std::vector<std::string> ran;
  queue.post([&] { queue.end(); });
  queue.post([&] { ran.emplace_back("waiting"); });

  queue.runNext([] {});
  queue.post([&] { ran.emplace_back("late"); });
  queue.runNext([] { FAIL() << "nothing waits after the end"; });

  EXPECT_TRUE(ran.empty());
}

}  // namespace
}  // namespace quillon
