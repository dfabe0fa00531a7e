#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <variant>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusChannel.h"
#include "Support/BlockingQueue.h"
#include "Support/BusPeer.h"
#include "Support/SocketPair.h"
#include "Support/ThreadState.h"

namespace quillon {
namespace {

using Dictionary = QuillonPropertyListValue::Dictionary;
using testing::BlockingQueue;
using testing::BusPeer;

const Dictionary kRequest = {{"kind", QuillonPropertyListValue("request")}};
const Dictionary kReply = {{"kind", QuillonPropertyListValue("reply")}};
const Dictionary kEvent = {{"kind", QuillonPropertyListValue("event")}};

/// Two channels, each read by a thread of its own until it ends.
class LauncherBusChannelTest : public ::testing::Test {
 protected:
  void TearDown() override {
    host_.close();
    service_.close();
  }

  static void read(LauncherBusChannel& channel, BlockingQueue<std::optional<LauncherBusMessage>>& messages) {
    while (auto message = channel.next()) messages.push(std::move(message));
    messages.push(std::nullopt);
  }

  template <typename T>
  static T next(BlockingQueue<std::optional<LauncherBusMessage>>& messages) {
    const auto message = messages.pop();
    const T* const expected = message ? std::get_if<T>(&*message) : nullptr;
    EXPECT_NE(expected, nullptr);
    return expected == nullptr ? T() : *expected;
  }

  testing::SocketPair sockets_ = testing::makeSocketPair();
  LauncherBusChannel host_{std::move(sockets_.host), LauncherBusEnd::host};
  LauncherBusChannel service_{std::move(sockets_.service), LauncherBusEnd::service};
  BlockingQueue<std::optional<LauncherBusMessage>> atHost_;
  BlockingQueue<std::optional<LauncherBusMessage>> atService_;
  std::jthread hostThread_{[this] { read(host_, atHost_); }};
  std::jthread serviceThread_{[this] { read(service_, atService_); }};
};

TEST_F(LauncherBusChannelTest, CarriesRequestsEventsAndReplies) {
  const auto identifier = host_.call(kRequest);
  const auto call = next<LauncherBusCall>(atService_);
  EXPECT_TRUE(service_.reportProgress(kEvent));
  EXPECT_TRUE(service_.reply(call.identifier, kReply));

  EXPECT_EQ(call.message, kRequest);
  EXPECT_EQ(next<LauncherBusProgress>(atHost_).progress, kEvent);
  const auto reply = next<LauncherBusReply>(atHost_);
  EXPECT_EQ(reply.identifier, identifier);
  EXPECT_EQ(reply.reply, kReply);
}

TEST_F(LauncherBusChannelTest, ARequestIsAnsweredOnce) {
  (void)host_.call(kRequest);
  const auto call = next<LauncherBusCall>(atService_);

  EXPECT_TRUE(service_.reply(call.identifier, kReply));
  EXPECT_FALSE(service_.reply(call.identifier, kReply));
  EXPECT_FALSE(service_.reply(call.identifier + 1, kReply));
}

TEST_F(LauncherBusChannelTest, AMessageLargerThanTheSocketArrivesWhole) {
  const Dictionary large = {{"text", QuillonPropertyListValue(std::string(1'000'000, 'x'))}};

  (void)host_.call(large);
  const auto call = next<LauncherBusCall>(atService_);
  EXPECT_TRUE(service_.reply(call.identifier, large));

  EXPECT_EQ(call.message, large);
  EXPECT_EQ(next<LauncherBusReply>(atHost_).reply, large);
}

TEST_F(LauncherBusChannelTest, WhatTheBusCannotCarryIsNotSent) {
  const Dictionary nested = {{"nested", QuillonPropertyListValue(Dictionary())}};

  EXPECT_EQ(host_.call(nested), std::nullopt);
  EXPECT_FALSE(service_.reportProgress(nested));
}

TEST_F(LauncherBusChannelTest, ClosingEndsBothEnds) {
  (void)host_.call(kRequest);
  (void)next<LauncherBusCall>(atService_);

  host_.close();

  EXPECT_EQ(atHost_.pop(), std::nullopt);
  EXPECT_EQ(atService_.pop(), std::nullopt);
  EXPECT_EQ(host_.ending(), LauncherBusEnding::closed);
  EXPECT_EQ(service_.ending(), LauncherBusEnding::otherEndGone);
  EXPECT_EQ(host_.call(kRequest), std::nullopt);
  EXPECT_FALSE(service_.reportProgress(kEvent));
}

TEST(LauncherBusChannelEndTest, AnEndWithoutHandshakeIsBroken) {
  auto sockets = testing::makeSocketPair();
  LauncherBusChannel channel(std::move(sockets.host), LauncherBusEnd::host);
  sockets.service.reset();

  EXPECT_EQ(channel.next(), std::nullopt);
  EXPECT_EQ(channel.ending(), LauncherBusEnding::broken);
}

TEST(LauncherBusChannelEndTest, AnEndThatClosesWhileItIsWaitedForReturns) {
  auto sockets = testing::makeSocketPair();
  LauncherBusChannel channel(std::move(sockets.host), LauncherBusEnd::host);
  std::jthread closing([&] { channel.close(); });

  EXPECT_EQ(channel.next(), std::nullopt);
  EXPECT_EQ(channel.ending(), LauncherBusEnding::closed);
}

TEST(LauncherBusChannelWaitTest, AHostWaitsForTheHandshakeAsLongAsItsLaunchLets) {
  auto sockets = testing::makeSocketPair();
  const LauncherBusChannel host(std::move(sockets.host), LauncherBusEnd::host);
  const LauncherBusChannel service(std::move(sockets.service), LauncherBusEnd::service);

  EXPECT_EQ(host.longestWaitMilliseconds(), -1);
  EXPECT_GT(service.longestWaitMilliseconds(), 0);
}

TEST(LauncherBusChannelWaitTest, ManyRequestsBeforeTheHandshakeDoNotKeepTheHostBusy) {
  constexpr int kRequests = 200;
  auto sockets = testing::makeSocketPair();
  LauncherBusChannel host(std::move(sockets.host), LauncherBusEnd::host);
  for (int i = 0; i < kRequests; ++i) ASSERT_TRUE(host.call(kRequest));
  BlockingQueue<pid_t> thread;
  const std::jthread reading([&] {
    thread.push(gettid());
    EXPECT_EQ(host.next(), std::nullopt);
  });

  EXPECT_TRUE(testing::waitUntilAsleep(thread.pop()));

  LauncherBusChannel service(std::move(sockets.service), LauncherBusEnd::service);
  for (int i = 0; i < kRequests; ++i) EXPECT_TRUE(service.next());
  host.close();
}

/// A host's channel, read by a thread that does not go on before the test says so.
class LauncherBusChannelHoldTest : public ::testing::Test {
 protected:
  void SetUp() override {
    thread_ = threads_.pop();
    goOn_.push(true);
    ASSERT_TRUE(service_.connect());
    ASSERT_TRUE(testing::waitUntilAsleep(thread_));
  }
  void TearDown() override {
    host_.close();
    goOn_.push(true);
  }

  void read() {
    threads_.push(gettid());
    bool isThereMore = true;
    while (isThereMore) {
      goOn_.pop();
      auto message = host_.next();
      isThereMore = message.has_value();
      messages_.push(std::move(message));
    }
  }

  void sendEvent() const {
    const auto event = service_.makeSignal();
    testing::append(event, "a{sv}", 0);
    service_.send(event);
  }

  /// Whether the reader waits and has brought nothing.
  [[nodiscard]] bool isKeptWaiting() const { return testing::waitUntilAsleep(thread_) && messages_.isEmpty(); }

  testing::SocketPair sockets_ = testing::makeSocketPair();
  LauncherBusChannel host_{std::move(sockets_.host), LauncherBusEnd::host};
  BusPeer service_{std::move(sockets_.service), BusPeer::Role::server};
  BlockingQueue<std::optional<LauncherBusMessage>> messages_;
  BlockingQueue<pid_t> threads_;
  BlockingQueue<bool> goOn_;
  pid_t thread_ = 0;
  std::jthread reader_{[this] { read(); }};
};

TEST_F(LauncherBusChannelHoldTest, AMessageWaitsUntilTheChannelIsReleased) {
  std::optional<LauncherBusChannel::Hold> hold(std::in_place, host_);
  sendEvent();
  EXPECT_TRUE(isKeptWaiting());

  hold.reset();

  EXPECT_TRUE(messages_.pop());
}

TEST_F(LauncherBusChannelHoldTest, ClosingEndsTheWaitOfAHeldChannel) {
  const LauncherBusChannel::Hold hold(host_);
  sendEvent();
  EXPECT_TRUE(isKeptWaiting());

  host_.close();

  EXPECT_EQ(messages_.pop(), std::nullopt);
  EXPECT_EQ(host_.ending(), LauncherBusEnding::closed);
}

TEST_F(LauncherBusChannelHoldTest, TheLastOfTwoHoldersReleasesTheChannel) {
  std::optional<LauncherBusChannel::Hold> first(std::in_place, host_);
  std::optional<LauncherBusChannel::Hold> second(std::in_place, host_);
  sendEvent();
  first.reset();
  EXPECT_TRUE(isKeptWaiting());

  second.reset();

  EXPECT_TRUE(messages_.pop());
}

TEST_F(LauncherBusChannelHoldTest, AMessageThatWasTakenBeforeIsNotTakenBack) {
  sendEvent();
  sendEvent();
  const auto first = messages_.pop();
  std::optional<LauncherBusChannel::Hold> hold(std::in_place, host_);
  goOn_.push(true);
  EXPECT_TRUE(first);
  EXPECT_TRUE(isKeptWaiting());

  hold.reset();

  EXPECT_TRUE(messages_.pop());
}

TEST(LauncherBusChannelEndTest, WhatIsNoSocketIsRefused) {
  FileDescriptor file(open("/dev/null", O_RDWR | O_CLOEXEC));

  EXPECT_THROW(LauncherBusChannel(std::move(file), LauncherBusEnd::service), QuillonSystemError);
  EXPECT_THROW(LauncherBusChannel(FileDescriptor(), LauncherBusEnd::host), QuillonSystemError);
}

}  // namespace
}  // namespace quillon
