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
#include "Support/SocketPair.h"

namespace quillon {
namespace {

using Dictionary = QuillonPropertyListValue::Dictionary;
using testing::BlockingQueue;

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

TEST(LauncherBusChannelEndTest, WhatIsNoSocketIsRefused) {
  FileDescriptor file(open("/dev/null", O_RDWR | O_CLOEXEC));

  EXPECT_THROW(LauncherBusChannel(std::move(file), LauncherBusEnd::service), QuillonSystemError);
  EXPECT_THROW(LauncherBusChannel(FileDescriptor(), LauncherBusEnd::host), QuillonSystemError);
}

}  // namespace
}  // namespace quillon
