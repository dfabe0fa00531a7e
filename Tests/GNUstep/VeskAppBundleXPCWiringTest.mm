// What NSXPCConnection and NSXPCListener are used for beyond the contract of the connection: who is let in, what is
// heard of a failure, and who ends when.

#import <Foundation/Foundation.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "QuillonUpdatesAppKitUI/AppBundleInstaller/Apple/VeskAppBundleInstallerLauncherServiceListener.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleNSXPCInstallerLauncherServiceConnectionFactory.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"
#include "Support/Apple/XPCServiceProcess.h"
#include "Support/BlockingQueue.h"
#include "Support/LauncherServiceEnd.h"
#include "Support/ThreadState.h"

namespace quillon {
namespace {

using Dictionary = QuillonPropertyListValue::Dictionary;
using Progress = VeskAppBundleInstallerLaunchProgress;
using Request = testing::LauncherServiceEnd::Request;
using Result = VeskAppBundleReplacementLaunchResult;
using ::testing::AnyOf;
using testing::BlockingQueue;
using testing::XPCLoopbackFailureOrder;

constexpr const char* kServiceName = "org.example.App.Quillon.UpdateInstallerLauncherService";
constexpr const char* kInterrupted = "The installer launcher XPC connection was interrupted.";
constexpr const char* kInvalidated = "The installer launcher XPC connection was invalidated.";
constexpr const char* kInvalidReply = "The launcher service returned an invalid result.";

class VeskAppBundleXPCWiringTest : public ::testing::Test {
 protected:
  void SetUp() override { connection_ = connect(); }
  void TearDown() override {
    connection_.reset();
    service_.close();
    process_.reset();
    testing::setXPCLoopbackHostUser(getuid());
    testing::setXPCLoopbackFailureOrder(XPCLoopbackFailureOrder::connectionFirst);
  }

  void startProcess() {
    process_ = testing::XPCServiceProcess::start(kServiceName, [this] { serveXPCConnections(makeService_); });
  }

  std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection> connect() {
    auto connection = VeskAppBundleNSXPCInstallerLauncherServiceConnectionFactory().make(
        kServiceName, [this](const QuillonSystemError& error) { note(error.description()); },
        [this](const Progress& progress) { note(std::string(progress.caseName())); });
    connection->resume();
    return connection;
  }

  void note(const std::string& callback) {
    const auto called = std::exchange(whenCalled_, nullptr);
    callbacks_.push(callback);
    if (called) called();
  }

  bool launch(VeskAppBundleInstallerLauncherServiceConnection& connection) {
    return connection.launchReplacement(
        {}, [] {},
        [this](const Result& result) {
          const auto* const failure = std::get_if<Result::ProtocolFailure>(&result.value);
          note(failure == nullptr ? std::string(result.caseName()) : failure->diagnostic.errorDescription.value_or(""));
        });
  }
  Request launchAndReceive(VeskAppBundleInstallerLauncherServiceConnection& connection) {
    EXPECT_TRUE(launch(connection));
    return service_.nextRequest();
  }
  Request launchAndReceive() { return launchAndReceive(*connection_); }

  static void reply(const Request& request) { request.reply(xpcDictionary(Result::launched(), {})); }

  BlockingQueue<std::string> callbacks_;
  std::function<void()> whenCalled_;
  testing::LauncherServiceEnd service_;
  VeskAppBundleInstallerLauncherServiceMaking makeService_ = [this](std::int32_t host, auto progressSender) {
    hosts_.push(host);
    return service_.makeService(std::move(progressSender));
  };
  BlockingQueue<std::int32_t> hosts_;
  std::shared_ptr<testing::XPCServiceProcess> process_;
  std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection> connection_;
};

TEST_F(VeskAppBundleXPCWiringTest, AServiceThatDoesNotExistInvalidatesTheConnection) {
  EXPECT_TRUE(launch(*connection_));

  EXPECT_EQ(callbacks_.pop(), kInvalidated);
  connection_.reset();
  EXPECT_TRUE(callbacks_.isEmpty());
}

TEST_F(VeskAppBundleXPCWiringTest, AMessageThatFailsWhileItIsSentIsHeardOfOnce) {
  bool wasSent = false;

  // There is no service: the first message ends the connection, which is heard of only when none is being sent.
  EXPECT_TRUE(connection_->launchReplacement(
      {}, [&] { wasSent = launch(*connection_); }, [](const Result& /*result*/) {}));

  EXPECT_TRUE(wasSent);
  EXPECT_THAT(callbacks_.pop(), AnyOf(kInvalidated, "NSCocoaErrorDomain 4099"));
  connection_.reset();
  EXPECT_TRUE(callbacks_.isEmpty());
}

TEST_F(VeskAppBundleXPCWiringTest, ANameThatIsNoneGivesNoConnection) {
  VeskAppBundleNSXPCInstallerLauncherServiceConnectionFactory factory;

  EXPECT_FALSE(factory.make(
      "", [](const auto& /*error*/) {}, [](const auto& /*progress*/) {}));
  EXPECT_FALSE(factory.make(
      "\xff", [](const auto& /*error*/) {}, [](const auto& /*progress*/) {}));
}

TEST_F(VeskAppBundleXPCWiringTest, TheServiceIsToldWhichProcessItsHostIs) {
  startProcess();

  (void)launchAndReceive();

  EXPECT_EQ(hosts_.pop(), getpid());
}

TEST_F(VeskAppBundleXPCWiringTest, AHostOfAnotherUserIsRefused) {
  startProcess();
  testing::setXPCLoopbackHostUser(getuid() + 1);

  EXPECT_TRUE(launch(*connection_));

  EXPECT_EQ(callbacks_.pop(), kInterrupted);
  EXPECT_TRUE(hosts_.isEmpty());
}

TEST_F(VeskAppBundleXPCWiringTest, AServiceThatCannotBeMadeRefusesItsHost) {
  makeService_ = [](std::int32_t /*host*/,
                    const auto& /*progressSender*/) -> std::shared_ptr<VeskAppBundleInstallerLauncherXPCProtocol> {
    throw std::runtime_error("no service");
  };
  startProcess();

  EXPECT_TRUE(launch(*connection_));

  EXPECT_EQ(callbacks_.pop(), kInterrupted);
}

TEST_F(VeskAppBundleXPCWiringTest, EachConnectionHasAServiceOfItsOwn) {
  startProcess();
  const auto other = connect();
  const Request request = launchAndReceive();
  const Request requestOfOther = launchAndReceive(*other);
  EXPECT_NE(request.host, requestOfOther.host);

  connection_.reset();
  service_.waitForEndOfService();
  reply(requestOfOther);

  EXPECT_EQ(callbacks_.pop(), "launched");
}

TEST_F(VeskAppBundleXPCWiringTest, AFailureIsHeardOnceAsTheConnectionsOwn) {
  startProcess();
  const Request request = launchAndReceive();

  process_->crash();

  EXPECT_EQ(callbacks_.pop(), kInterrupted);
  connection_.reset();
  EXPECT_TRUE(callbacks_.isEmpty());
}

TEST_F(VeskAppBundleXPCWiringTest, AFailureOfAMessageIsHeardWhenItComesFirst) {
  testing::setXPCLoopbackFailureOrder(XPCLoopbackFailureOrder::messagesFirst);
  startProcess();
  const Request request = launchAndReceive();

  process_->crash();

  EXPECT_EQ(callbacks_.pop(), "NSCocoaErrorDomain 4097");
  connection_.reset();
  EXPECT_TRUE(callbacks_.isEmpty());
}

TEST_F(VeskAppBundleXPCWiringTest, AServiceThatThrowsIsAReplyThatCannotBeRead) {
  class ThrowingService final : public VeskAppBundleInstallerLauncherXPCProtocol {
   public:
    void launchReplacement(const Dictionary& /*message*/, Reply /*reply*/) override {
      throw std::runtime_error("out of order");
    }
  };
  makeService_ = [](std::int32_t /*host*/, const auto& /*progressSender*/) {
    return std::make_shared<ThrowingService>();
  };
  startProcess();

  EXPECT_TRUE(launch(*connection_));

  EXPECT_EQ(callbacks_.pop(), kInvalidReply);
}

TEST_F(VeskAppBundleXPCWiringTest, WhatFoundationCannotHoldIsSentAsNothing) {
  startProcess();
  const Request request = launchAndReceive();

  request.host->reportProgress({{"event", QuillonPropertyListValue("\xff")}});
  request.reply({{"result", QuillonPropertyListValue("\xff")}});

  EXPECT_EQ(callbacks_.pop(), kInvalidReply);
}

TEST_F(VeskAppBundleXPCWiringTest, AReplyAfterTheEndOfItsServiceIsLost) {
  startProcess();
  const Request request = launchAndReceive();
  connection_.reset();
  service_.waitForEndOfService();

  request.host->reportProgress(xpcDictionary(Progress::jobSubmitted()));
  reply(request);

  process_.reset();
  EXPECT_TRUE(callbacks_.isEmpty());
}

TEST_F(VeskAppBundleXPCWiringTest, LettingGoWaitsForACallbackThatRuns) {
  startProcess();
  const Request request = launchAndReceive();
  BlockingQueue<bool> isReleased;
  whenCalled_ = [&] {
    isReleased.pop();
    callbacks_.push("returned");
  };
  reply(request);
  EXPECT_EQ(callbacks_.pop(), "launched");

  const std::jthread releasing([&isReleased, waiting = gettid()] {
    // Until the thread that lets go waits, for the callback or for what the callback has written down.
    EXPECT_TRUE(testing::waitUntilAsleep(waiting));
    isReleased.push(true);
  });
  connection_.reset();
  callbacks_.push("let go");

  EXPECT_EQ(callbacks_.pop(), "returned");
  EXPECT_EQ(callbacks_.pop(), "let go");
}

}  // namespace
}  // namespace quillon
