#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <latch>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionMaking.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"
#include "Support/BlockingQueue.h"
#include "Support/LauncherServiceEnd.h"

// What every connection to a launcher service promises, with the system's listener at its other end. A test executable
// that includes this instantiates the suite with its implementations.

namespace quillon {
namespace testing {

/// A launcher service, which is there until the last copy of this goes.
struct LauncherService {
  /// Makes a connection of the host's to it.
  std::function<std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection>(
      VeskAppBundleInstallerLauncherServiceConnectionMaking::ErrorHandler, VeskAppBundleInstallerLaunchProgressHandler)>
      connect;
  /// Ends its processes, as far as the host can see.
  std::function<void()> crash;
};

struct LauncherServiceConnectionImplementation {
  friend void PrintTo(const LauncherServiceConnectionImplementation& implementation, std::ostream* out) {
    *out << implementation.name;
  }

  std::string name;
  /// Absent where a test can have no such service.
  std::function<std::optional<LauncherService>(LauncherServiceEnd&)> start;
};

}  // namespace testing

/// The connection's callbacks are written down in their order.
class VeskAppBundleInstallerLauncherServiceConnectionContract
    : public ::testing::TestWithParam<testing::LauncherServiceConnectionImplementation> {
 protected:
  using Dictionary = QuillonPropertyListValue::Dictionary;
  using Progress = VeskAppBundleInstallerLaunchProgress;
  using Request = testing::LauncherServiceEnd::Request;
  using Result = VeskAppBundleReplacementLaunchResult;

  void SetUp() override {
    running_ = GetParam().start(service_);
    if (!running_) GTEST_SKIP() << "The system starts such a service for an application's bundle only.";
    connection_ =
        running_->connect([this](const QuillonSystemError& error) { note("error " + std::to_string(error.code())); },
                          [this](const Progress& progress) { note(std::string(progress.caseName())); });
  }
  void TearDown() override {
    connection_.reset();
    service_.close();
    running_.reset();
  }

  /// The next callback, once it is written down, does this too.
  void atNextCallback(std::function<void()> action) {
    const std::lock_guard guard(lock_);
    atNextCallback_ = std::move(action);
  }
  void note(const std::string& callback) {
    std::function<void()> action;
    {
      const std::lock_guard guard(lock_);
      action.swap(atNextCallback_);
    }
    callbacks_.push(callback);
    if (action) action();
  }

  static std::string textOf(const Result& result) {
    const auto* const failure = std::get_if<Result::ProtocolFailure>(&result.value);
    return failure == nullptr ? std::string(result.caseName()) : failure->diagnostic.errorDescription.value_or("");
  }

  bool launch(const std::function<void()>& didSubmitRequest) {
    return connection_->launchReplacement(kMessage, didSubmitRequest,
                                          [this](const Result& result) { note(textOf(result)); });
  }
  bool launch() {
    return launch([this] { callbacks_.push("submitted"); });
  }
  /// A request that the service has received.
  Request launchAndReceive() {
    connection_->resume();
    EXPECT_TRUE(launch());
    EXPECT_EQ(callbacks_.pop(), "submitted");
    return service_.nextRequest();
  }

  /// What the two ends have to say to each other before the first request is behind them.
  void connect() {
    reply(launchAndReceive(), Result::launched());
    EXPECT_EQ(callbacks_.pop(), "launched");
  }

  static void reply(const Request& request, const Result& result) { request.reply(xpcDictionary(result, {})); }
  static void report(const Request& request, const Progress& progress) {
    request.host->reportProgress(xpcDictionary(progress));
  }
  /// Everything that a service can say, in answer to one request.
  static void sayEverything(const Request& request) {
    report(request, Progress::handoffStarted());
    report(request, Progress::jobSubmitted());
    reply(request, Result::launched());
  }

  /// Lets the connection go, after which nothing may follow.
  void expectNoMoreCallbacks() {
    connection_.reset();
    EXPECT_TRUE(callbacks_.isEmpty());
  }

  /// How many launches were accepted, while `meanwhile` runs.
  int launchOnManyThreads(const std::function<void()>& meanwhile) {
    std::atomic<int> accepted = 0;
    std::latch start(kThreads + 1);
    {
      std::vector<std::jthread> threads;
      threads.reserve(kThreads);
      for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
          start.arrive_and_wait();
          for (int launched = 0; launched < kLaunches; ++launched) {
            if (launch([] {})) ++accepted;
          }
        });
      }
      start.arrive_and_wait();
      meanwhile();
    }
    return accepted;
  }

  static constexpr int kThreads = 3;
  static constexpr int kLaunches = 20;
  static inline const Dictionary kMessage = {{"bundleIdentifier", QuillonPropertyListValue("org.example.App")},
                                             {"applicationBuild", QuillonPropertyListValue(std::int64_t{201})},
                                             {"allowsSameBuildReplacement", QuillonPropertyListValue(true)}};
  static inline const std::string kInterrupted =
      "error " + std::to_string(kInstallerLauncherServiceConnectionInterrupted);

  testing::BlockingQueue<std::string> callbacks_;
  std::mutex lock_;
  std::function<void()> atNextCallback_;  // guarded by lock_
  testing::LauncherServiceEnd service_;
  std::optional<testing::LauncherService> running_;
  std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection> connection_;
};

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, ARequestReachesTheServiceAndItsEventsAndReplyTheHost) {
  const Request request = launchAndReceive();
  sayEverything(request);

  EXPECT_EQ(request.message, kMessage);
  EXPECT_EQ(callbacks_.pop(), "handoffStarted");
  EXPECT_EQ(callbacks_.pop(), "jobSubmitted");
  EXPECT_EQ(callbacks_.pop(), "launched");
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, EventsCarryWhatTheServiceKnows) {
  testing::BlockingQueue<Progress> heard;
  connection_ = running_->connect([](const QuillonSystemError& /*error*/) {},
                                  [&](const Progress& progress) { heard.push(progress); });
  const auto required =
      Progress::authorizationRequired({.destinationParentIsWritable = false, .canPreserveInstalledOwnership = true});
  const Request request = launchAndReceive();

  report(request, required);
  report(request, Progress::authorizationEnded(5'000'000'000));

  EXPECT_EQ(heard.pop(), required);
  EXPECT_EQ(heard.pop(), Progress::authorizationEnded(5'000'000'000));
  expectNoMoreCallbacks();
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, EachRequestHasItsOwnReply) {
  const Request first = launchAndReceive();
  EXPECT_TRUE(launch());
  EXPECT_EQ(callbacks_.pop(), "submitted");
  const Request second = service_.nextRequest();

  reply(second, Result::helperUnavailable());
  EXPECT_EQ(callbacks_.pop(), "helperUnavailable");
  reply(first, Result::launched());
  EXPECT_EQ(callbacks_.pop(), "launched");
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, CallbacksRunOnAThreadOfTheConnection) {
  std::thread::id thread;
  const Request request = launchAndReceive();
  atNextCallback([&] { thread = std::this_thread::get_id(); });

  sayEverything(request);

  for (int i = 0; i < 3; ++i) (void)callbacks_.pop();
  EXPECT_NE(thread, std::thread::id());
  EXPECT_NE(thread, std::this_thread::get_id());
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, NothingIsDeliveredWhileARequestIsBeingSubmitted) {
  connect();

  // All of the service's answer is there before the submission has returned.
  EXPECT_TRUE(launch([this] {
    sayEverything(service_.nextRequest());
    callbacks_.push("submitted");
  }));

  EXPECT_EQ(callbacks_.pop(), "submitted");
  EXPECT_EQ(callbacks_.pop(), "handoffStarted");
  EXPECT_EQ(callbacks_.pop(), "jobSubmitted");
  EXPECT_EQ(callbacks_.pop(), "launched");
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, AReplyThatCannotBeReadIsAnInvalidResult) {
  const Request empty = launchAndReceive();
  EXPECT_TRUE(launch());
  EXPECT_EQ(callbacks_.pop(), "submitted");
  const Request unknown = service_.nextRequest();

  empty.reply({});
  EXPECT_EQ(callbacks_.pop(), "The launcher service returned an invalid result.");
  unknown.reply({{"result", QuillonPropertyListValue("perhaps")}});
  EXPECT_EQ(callbacks_.pop(), "The launcher service returned an invalid result.");
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, EventsThatCannotBeReadArePassedOver) {
  const Request request = launchAndReceive();

  request.host->reportProgress({});
  request.host->reportProgress({{"event", QuillonPropertyListValue("later")}});
  report(request, Progress::jobSubmitted());

  EXPECT_EQ(callbacks_.pop(), "jobSubmitted");
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, AServiceThatEndsInterruptsTheConnectionOnce) {
  const Request request = launchAndReceive();
  report(request, Progress::handoffStarted());
  EXPECT_EQ(callbacks_.pop(), "handoffStarted");

  running_->crash();

  EXPECT_EQ(callbacks_.pop(), kInterrupted);
  expectNoMoreCallbacks();
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, AReplyBeforeTheEndIsDeliveredBeforeIt) {
  const Request request = launchAndReceive();

  reply(request, Result::launched());
  running_->crash();

  EXPECT_EQ(callbacks_.pop(), "launched");
  EXPECT_EQ(callbacks_.pop(), kInterrupted);
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, ARequestAfterTheErrorHasHadItsError) {
  const Request request = launchAndReceive();
  running_->crash();
  EXPECT_EQ(callbacks_.pop(), kInterrupted);

  EXPECT_TRUE(launch());
  connection_->invalidate();
  EXPECT_FALSE(launch());

  expectNoMoreCallbacks();
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, AMessageThatCannotBeCarriedIsNotSent) {
  connection_->resume();

  const bool didSend = connection_->launchReplacement(
      {{"stagedApplicationPath", QuillonPropertyListValue("/\xff")}}, [this] { callbacks_.push("submitted"); },
      [this](const Result& result) { note(textOf(result)); });

  EXPECT_FALSE(didSend);
  expectNoMoreCallbacks();
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, NothingIsDeliveredAfterInvalidation) {
  const Request request = launchAndReceive();

  connection_->invalidate();
  sayEverything(request);

  EXPECT_FALSE(launch());
  expectNoMoreCallbacks();
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, WhatWaitsIsNotDeliveredAfterInvalidation) {
  const Request request = launchAndReceive();
  testing::BlockingQueue<bool> goOn;
  atNextCallback([&goOn] { goOn.pop(); });
  sayEverything(request);
  EXPECT_EQ(callbacks_.pop(), "handoffStarted");

  connection_->invalidate();
  goOn.push(true);

  expectNoMoreCallbacks();
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, InvalidatingInACallbackDropsWhatCameAfter) {
  const Request request = launchAndReceive();
  atNextCallback([this] {
    connection_->invalidate();
    callbacks_.push("invalidated");
  });

  sayEverything(request);

  EXPECT_EQ(callbacks_.pop(), "handoffStarted");
  EXPECT_EQ(callbacks_.pop(), "invalidated");
  expectNoMoreCallbacks();
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, InvalidatingDuringASubmissionDropsWhatCameAfter) {
  connect();

  EXPECT_TRUE(launch([this] {
    sayEverything(service_.nextRequest());
    connection_->invalidate();
  }));

  expectNoMoreCallbacks();
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, LettingTheConnectionGoEndsTheService) {
  connect();

  connection_.reset();

  service_.waitForEndOfService();
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, InvalidatingTheConnectionEndsTheService) {
  connect();

  connection_->invalidate();
  connection_->invalidate();

  service_.waitForEndOfService();
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, WhatAServiceSaysToAHostThatIsGoneIsLost) {
  Request request = launchAndReceive();
  connection_.reset();

  sayEverything(request);
  // One that waits for its launches has no more of them.
  request.reply = nullptr;
  service_.waitForEndOfService();
  report(request, Progress::jobSubmitted());

  EXPECT_TRUE(callbacks_.isEmpty());
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, ACallbackMayLetTheLastOwnerGo) {
  const Request request = launchAndReceive();
  atNextCallback([this] {
    connection_.reset();
    callbacks_.push("gone");
  });

  reply(request, Result::launched());

  EXPECT_EQ(callbacks_.pop(), "launched");
  EXPECT_EQ(callbacks_.pop(), "gone");
  service_.waitForEndOfService();
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, TheErrorHandlerMayLetTheLastOwnerGo) {
  const Request request = launchAndReceive();
  atNextCallback([this] {
    connection_.reset();
    callbacks_.push("gone");
  });

  running_->crash();

  EXPECT_EQ(callbacks_.pop(), kInterrupted);
  EXPECT_EQ(callbacks_.pop(), "gone");
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, ASubmissionMayLetTheLastOwnerGo) {
  connection_->resume();
  auto& connection = *connection_;

  const bool didSend = connection.launchReplacement(
      kMessage,
      [this] {
        connection_.reset();
        callbacks_.push("gone");
      },
      [this](const Result& result) { note(textOf(result)); });

  EXPECT_TRUE(didSend);
  EXPECT_EQ(callbacks_.pop(), "gone");
  EXPECT_TRUE(callbacks_.isEmpty());
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, ADroppedReplyMayBeTheLastOwner) {
  connection_->resume();
  auto& connection = *connection_;
  const std::weak_ptr<VeskAppBundleInstallerLauncherServiceConnection> watched = connection_;
  EXPECT_TRUE(connection.launchReplacement(
      kMessage, [] {}, [owner = std::move(connection_)](const Result& /*result*/) { (void)owner; }));

  connection.invalidate();

  EXPECT_TRUE(watched.expired());
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, ACallbackMaySendTheNextRequest) {
  const Request first = launchAndReceive();
  atNextCallback([this] { EXPECT_TRUE(launch()); });

  reply(first, Result::launched());
  reply(service_.nextRequest(), Result::helperUnavailable());

  EXPECT_EQ(callbacks_.pop(), "launched");
  EXPECT_EQ(callbacks_.pop(), "submitted");
  EXPECT_EQ(callbacks_.pop(), "helperUnavailable");
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, AConnectionThatWasNeverResumedEndsQuietly) {
  expectNoMoreCallbacks();
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, AResumedConnectionWithoutARequestEndsQuietly) {
  connection_->resume();

  expectNoMoreCallbacks();
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, ManyThreadsMaySendAtOnce) {
  service_.answerAtOnce();
  connection_->resume();
  const int accepted = launchOnManyThreads([] {});

  EXPECT_EQ(accepted, kThreads * kLaunches);
  for (int reply = 0; reply < accepted; ++reply) EXPECT_EQ(callbacks_.pop(), "launched");
  expectNoMoreCallbacks();
}

TEST_P(VeskAppBundleInstallerLauncherServiceConnectionContract, AnInvalidationMayComeWhileOtherThreadsSend) {
  service_.answerAtOnce();
  connection_->resume();
  const int accepted = launchOnManyThreads([this] { connection_->invalidate(); });
  connection_.reset();

  int answered = 0;
  for (; !callbacks_.isEmpty(); ++answered) EXPECT_EQ(callbacks_.pop(), "launched");
  EXPECT_LE(answered, accepted);
}

}  // namespace quillon
