#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "QuillonCore/Contracts/QuillonMainThreadDispatching.h"

// What every main thread promises. A test executable that includes this instantiates the suite with its
// implementations.

namespace quillon {
namespace testing {

/// A main thread, which is the test's, and what makes it run all that waits.
struct MainThread {
  std::shared_ptr<QuillonMainThreadDispatching> port;
  std::function<void()> runAll;
};

struct MainThreadImplementation {
  friend void PrintTo(const MainThreadImplementation& implementation, std::ostream* out) {
    *out << implementation.name;
  }

  std::string name;
  std::function<MainThread()> make;
};

}  // namespace testing

class QuillonMainThreadDispatchingContract : public ::testing::TestWithParam<testing::MainThreadImplementation> {
 protected:
  void post(const std::string& name) {
    mainThread_.port->post([this, name] { ran_.push_back(name); });
  }

  std::vector<std::string> ran_;
  testing::MainThread mainThread_ = GetParam().make();
};

TEST_P(QuillonMainThreadDispatchingContract, OnlyTheMainThreadIsTheMainThread) {
  bool isMainThread = true;

  std::jthread([&] { isMainThread = mainThread_.port->isMainThread(); }).join();

  EXPECT_TRUE(mainThread_.port->isMainThread());
  EXPECT_FALSE(isMainThread);
}

TEST_P(QuillonMainThreadDispatchingContract, FunctionsRunOnTheMainThread) {
  bool wasMainThread = false;

  std::jthread([&] { mainThread_.port->post([&] { wasMainThread = mainThread_.port->isMainThread(); }); }).join();
  mainThread_.runAll();

  EXPECT_TRUE(wasMainThread);
}

TEST_P(QuillonMainThreadDispatchingContract, FunctionsRunInTheOrderOfTheirPosting) {
  post("first");
  std::jthread([&] { post("second"); }).join();
  post("third");
  mainThread_.runAll();

  EXPECT_THAT(ran_, ::testing::ElementsAre("first", "second", "third"));
}

TEST_P(QuillonMainThreadDispatchingContract, NothingRunsWithinThePosting) {
  post("later");

  EXPECT_THAT(ran_, ::testing::IsEmpty());

  mainThread_.port->post([this] {
    post("inner");
    ran_.emplace_back("outer");
  });
  mainThread_.runAll();
  EXPECT_THAT(ran_, ::testing::ElementsAre("later", "outer", "inner"));
}

TEST_P(QuillonMainThreadDispatchingContract, ALoopWithinAFunctionRunsWhatWaitedBehindIt) {
  post("first");
  mainThread_.port->post([this] {
    ran_.emplace_back("outer begins");
    mainThread_.runAll();
    ran_.emplace_back("outer ends");
  });
  post("second");
  post("third");
  mainThread_.runAll();

  EXPECT_THAT(ran_, ::testing::ElementsAre("first", "outer begins", "second", "third", "outer ends"));
}

TEST_P(QuillonMainThreadDispatchingContract, WhatStillWaitsAtTheEndIsDestroyedWithoutHavingRun) {
  const auto held = std::make_shared<bool>(false);
  mainThread_.port->post([held] { *held = true; });

  mainThread_ = {};

  EXPECT_FALSE(*held);
  EXPECT_EQ(held.use_count(), 1);
}

TEST_P(QuillonMainThreadDispatchingContract, AFunctionThatHasRunIsDestroyed) {
  const auto held = std::make_shared<int>(0);
  mainThread_.port->post([held] { ++*held; });

  mainThread_.runAll();

  EXPECT_EQ(*held, 1);
  EXPECT_EQ(held.use_count(), 1);
}

TEST_P(QuillonMainThreadDispatchingContract, ThreadsThatPostAtOnceLoseNothingAndKeepTheirOrder) {
  constexpr int kPosts = 500;
  std::vector<std::vector<int>> seen(3);
  {
    std::vector<std::jthread> threads;
    for (std::vector<int>& numbers : seen) {
      threads.emplace_back([this, &numbers] {
        for (int i = 0; i < kPosts; ++i) {
          mainThread_.port->post([&numbers, i] { numbers.push_back(i); });
        }
      });
    }
  }
  mainThread_.runAll();

  for (const std::vector<int>& numbers : seen) {
    ASSERT_EQ(numbers.size(), static_cast<std::size_t>(kPosts));
    EXPECT_TRUE(std::ranges::is_sorted(numbers));
  }
}

}  // namespace quillon
