#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchSession.h"
#include "Support/FakeLauncherServiceConnection.h"

namespace quillon {
namespace {

using Result = VeskAppBundleReplacementLaunchResult;
using ::testing::ElementsAre;
using testing::FakeLauncherServiceConnection;
using ::testing::IsEmpty;

class VeskAppBundleXPCLaunchSessionTest : public ::testing::Test {
 protected:
  std::shared_ptr<FakeLauncherServiceConnection> connection_ = std::make_shared<FakeLauncherServiceConnection>();
  std::vector<std::string> events_;
  VeskAppBundleXPCLaunchSession session_{[this](const Result& result) { events_.emplace_back(result.caseName()); }};
};

TEST_F(VeskAppBundleXPCLaunchSessionTest, InvalidatesTheConnectionThenCompletes) {
  connection_->whenInvalidated = [this] { events_.emplace_back("invalidate"); };
  session_.setConnection(connection_);

  session_.finish(Result::launched());

  EXPECT_THAT(events_, ElementsAre("invalidate", "launched"));
}

TEST_F(VeskAppBundleXPCLaunchSessionTest, OnlyTheFirstOutcomeCounts) {
  session_.setConnection(connection_);

  session_.finish(Result::launched());
  session_.finish(Result::helperUnavailable());
  session_.finish(Result::timedOut(VeskAppBundleInstallerLaunchPhase::preAuthorization));

  EXPECT_THAT(events_, ElementsAre("launched"));
  EXPECT_THAT(connection_->calls(), ElementsAre("invalidate"));
}

TEST_F(VeskAppBundleXPCLaunchSessionTest, CompletesWithoutAConnection) {
  session_.finish(Result::helperUnavailable());

  EXPECT_THAT(events_, ElementsAre("helperUnavailable"));
}

TEST_F(VeskAppBundleXPCLaunchSessionTest, AConnectionMadeAfterTheOutcomeIsInvalidatedAtOnce) {
  session_.finish(Result::helperUnavailable());
  session_.setConnection(connection_);

  EXPECT_THAT(connection_->calls(), ElementsAre("invalidate"));
  EXPECT_EQ(connection_.use_count(), 1);
}

TEST_F(VeskAppBundleXPCLaunchSessionTest, ALaterConnectionReplacesTheEarlierOne) {
  const auto later = std::make_shared<FakeLauncherServiceConnection>();
  session_.setConnection(connection_);
  session_.setConnection(later);
  session_.finish(Result::launched());

  EXPECT_THAT(connection_->calls(), IsEmpty());
  EXPECT_EQ(connection_.use_count(), 1);
  EXPECT_THAT(later->calls(), ElementsAre("invalidate"));
}

TEST_F(VeskAppBundleXPCLaunchSessionTest, HoldsNoConnectionOnceItCompletes) {
  long owners = 0;
  VeskAppBundleXPCLaunchSession session([&](const Result& /*result*/) { owners = connection_.use_count(); });
  session.setConnection(connection_);
  session.finish(Result::launched());

  EXPECT_EQ(owners, 1);
}

TEST_F(VeskAppBundleXPCLaunchSessionTest, WhatItCallsMayCallItBack) {
  connection_->whenInvalidated = [this] {
    session_.finish(Result::helperUnavailable());
    session_.setConnection(std::make_shared<FakeLauncherServiceConnection>());
  };
  session_.setConnection(connection_);

  session_.finish(Result::launched());

  EXPECT_THAT(events_, ElementsAre("launched"));
}

TEST_F(VeskAppBundleXPCLaunchSessionTest, CompletesOnceUnderStress) {
  constexpr int kThreads = 4;
  for (int round = 0; round < 100; ++round) {
    std::atomic<int> completions = 0;
    VeskAppBundleXPCLaunchSession session([&](const Result& /*result*/) { ++completions; });
    const auto connection = std::make_shared<FakeLauncherServiceConnection>();
    std::latch start(kThreads);
    std::vector<std::jthread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        start.arrive_and_wait();
        if (i == 0) {
          session.setConnection(connection);
        } else {
          session.finish(Result::launched());
        }
      });
    }
    threads.clear();
    EXPECT_EQ(completions, 1);
    EXPECT_THAT(connection->calls(), ElementsAre("invalidate"));
    EXPECT_EQ(connection.use_count(), 1);
  }
}

}  // namespace
}  // namespace quillon
