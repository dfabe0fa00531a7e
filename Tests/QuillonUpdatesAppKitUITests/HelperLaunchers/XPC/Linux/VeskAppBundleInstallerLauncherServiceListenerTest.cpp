#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <variant>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusDictionary.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleInstallerLauncherServiceListener.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"
#include "Support/BlockingQueue.h"
#include "Support/BusPeer.h"
#include "Support/SocketPair.h"

namespace quillon {
namespace {

using Dictionary = QuillonPropertyListValue::Dictionary;
using Result = VeskAppBundleReplacementLaunchResult;
using testing::append;
using testing::BlockingQueue;
using testing::BusPeer;

const Dictionary kMessage = {{"bundleIdentifier", QuillonPropertyListValue("org.example.App")}};
const Dictionary kReply = {{"result", QuillonPropertyListValue("launched")}};

Dictionary event(int number) {
  return {{"number", QuillonPropertyListValue(number)}};
}

/// Hands each request to the test.
class RecordingService final : public VeskAppBundleInstallerLauncherXPCProtocol {
 public:
  struct Request {
    Dictionary message;
    Reply reply;
  };

  void launchReplacement(const Dictionary& message, Reply reply) override {
    if (shouldThrow) throw std::runtime_error("out of order");
    requests.push({message, std::move(reply)});
  }

  std::atomic<bool> shouldThrow = false;
  BlockingQueue<Request> requests;
};

class VeskAppBundleInstallerLauncherServiceListenerTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(host_.connect()); }
  void TearDown() override { host_.close(); }

  /// What the service sent back to a call, or as an event: its result, its event, or the name of a D-Bus error.
  static std::string text(const BusPeer::Message& message) {
    if (!message) return "gone";
    if (sd_bus_message_is_method_error(message.get(), nullptr) > 0)
      return sd_bus_message_get_error(message.get())->name;
    const auto dictionary = readLauncherBusDictionary(message.get());
    if (!dictionary) return "unreadable";
    if (const auto number = dictionary->find("number"); number != dictionary->end()) {
      return "event " + std::to_string(*number->second.getIf<std::int64_t>());
    }
    const Result result = replacementLaunchResult(*dictionary);
    if (const auto* const failure = std::get_if<Result::ProtocolFailure>(&result.value)) {
      return failure->diagnostic.errorDescription.value_or("");
    }
    return std::string(result.caseName());
  }

  void call(const Dictionary& message = kMessage) const {
    const auto call = host_.makeCall();
    ASSERT_GE(appendLauncherBusDictionary(call.get(), message), 0);
    host_.send(call);
  }

  testing::SocketPair sockets_ = testing::makeSocketPair();
  VeskAppBundleInstallerLauncherServiceListener listener_{std::move(sockets_.service)};
  RecordingService service_;
  BusPeer host_{std::move(sockets_.host), BusPeer::Role::client};
  std::function<void()> whenRunReturns_ = [] {};
  std::jthread thread_{[this] {
    listener_.run(service_);
    whenRunReturns_();
  }};
};

TEST_F(VeskAppBundleInstallerLauncherServiceListenerTest, TheMakerOfTheSocketIsTheHost) {
  EXPECT_EQ(listener_.hostProcessIdentifier(), getpid());
}

TEST_F(VeskAppBundleInstallerLauncherServiceListenerTest, RequestsAreHandedOverAndRepliesSentBack) {
  call();
  const auto request = service_.requests.pop();
  request.reply(kReply);

  EXPECT_EQ(request.message, kMessage);
  EXPECT_EQ(text(host_.receive()), "launched");
}

TEST_F(VeskAppBundleInstallerLauncherServiceListenerTest, EventsArriveBeforeTheReplyInTheirOrder) {
  call();
  const auto request = service_.requests.pop();
  for (int number = 1; number <= 3; ++number) listener_.progressSender()->reportProgress(event(number));
  request.reply(kReply);

  EXPECT_EQ(text(host_.receive()), "event 1");
  EXPECT_EQ(text(host_.receive()), "event 2");
  EXPECT_EQ(text(host_.receive()), "event 3");
  EXPECT_EQ(text(host_.receive()), "launched");
}

TEST_F(VeskAppBundleInstallerLauncherServiceListenerTest, ASecondReplyIsNotSent) {
  call();
  const auto request = service_.requests.pop();
  request.reply(kReply);
  request.reply({{"result", QuillonPropertyListValue("helperUnavailable")}});
  listener_.progressSender()->reportProgress(event(1));

  EXPECT_EQ(text(host_.receive()), "launched");
  EXPECT_EQ(text(host_.receive()), "event 1");
}

TEST_F(VeskAppBundleInstallerLauncherServiceListenerTest, AReplyThatIsDroppedIsAFailure) {
  call();
  (void)service_.requests.pop();

  EXPECT_EQ(text(host_.receive()), "The launcher service did not answer.");
}

TEST_F(VeskAppBundleInstallerLauncherServiceListenerTest, AServiceThatThrowsIsAFailure) {
  service_.shouldThrow = true;
  call();

  EXPECT_EQ(text(host_.receive()), "out of order");
}

TEST_F(VeskAppBundleInstallerLauncherServiceListenerTest, AReplyThatTheBusCannotCarryIsUnreadable) {
  call();
  service_.requests.pop().reply({{"result", QuillonPropertyListValue("\xff")}});

  EXPECT_EQ(text(host_.receive()), "unreadable");
}

TEST_F(VeskAppBundleInstallerLauncherServiceListenerTest, AMessageThatCannotBeReadIsHandedOverAsAnEmptyOne) {
  const auto nested = host_.makeCall();
  append(nested, "a{sv}", 1, "key", "as", 1, "text");
  host_.send(nested);
  const auto foreign = host_.makeCall();
  append(foreign, "s", "text");
  host_.send(foreign);
  const auto huge = host_.makeCall();
  append(huge, "a{sv}", 1, "key", "s", std::string(4 * kLargestLauncherBusDictionaryText, 'x').c_str());
  host_.send(huge);
  // What the socket did not take goes on its way while the host waits.
  std::jthread replying([this] {
    for (int i = 0; i < 3; ++i) {
      const auto request = service_.requests.pop();
      EXPECT_EQ(request.message, Dictionary());
      request.reply(kReply);
    }
  });

  EXPECT_EQ(text(host_.receive()), "launched");
  EXPECT_EQ(text(host_.receive()), "launched");
  EXPECT_EQ(text(host_.receive()), "launched");
}

TEST_F(VeskAppBundleInstallerLauncherServiceListenerTest, OtherMethodsAreUnknown) {
  host_.send(host_.makeSignal("LaunchReplacement"));
  host_.send(host_.makeSignal());
  host_.send(host_.makeCall("Reboot"));
  host_.send(host_.makeCall("LaunchReplacement", "org.example.Other"));
  host_.send(host_.makeCall("LaunchReplacement", BusPeer::kInterface, "/other"));

  EXPECT_EQ(text(host_.receive()), "org.freedesktop.DBus.Error.UnknownMethod");
  EXPECT_EQ(text(host_.receive()), "org.freedesktop.DBus.Error.UnknownMethod");
  EXPECT_EQ(text(host_.receive()), "org.freedesktop.DBus.Error.UnknownMethod");
  EXPECT_TRUE(service_.requests.isEmpty());
}

TEST_F(VeskAppBundleInstallerLauncherServiceListenerTest, AFloodIsAnsweredWithFailures) {
  constexpr std::size_t kExcess = 100;
  for (std::size_t i = 0; i < kLargestInstallerLaunchCount + kExcess; ++i) call();

  for (std::size_t i = 0; i < kExcess; ++i) {
    ASSERT_EQ(text(host_.receive()), "Too many launches are under way on this connection.");
  }
  for (std::size_t i = 0; i < kLargestInstallerLaunchCount; ++i) service_.requests.pop().reply(kReply);
  for (std::size_t i = 0; i < kLargestInstallerLaunchCount; ++i) ASSERT_EQ(text(host_.receive()), "launched");
  call();
  service_.requests.pop().reply(kReply);
  EXPECT_EQ(text(host_.receive()), "launched") << "once answered, launches count no more";
}

TEST_F(VeskAppBundleInstallerLauncherServiceListenerTest, AFloodFromAHostThatReadsLateIsAnsweredInFull) {
  // More answers than the socket holds: the service stops reading until the host reads.
  constexpr std::size_t kExcess = 2000;
  for (std::size_t i = 0; i < kLargestInstallerLaunchCount + kExcess; ++i) call();

  for (std::size_t i = 0; i < kExcess; ++i) {
    ASSERT_EQ(text(host_.receive()), "Too many launches are under way on this connection.");
  }
  for (std::size_t i = 0; i < kLargestInstallerLaunchCount; ++i) service_.requests.pop().reply(kReply);
  for (std::size_t i = 0; i < kLargestInstallerLaunchCount; ++i) ASSERT_EQ(text(host_.receive()), "launched");
}

TEST_F(VeskAppBundleInstallerLauncherServiceListenerTest, RunWaitsForTheLaunchUnderWayWhenTheHostIsGone) {
  call();
  const auto request = service_.requests.pop();
  std::atomic<bool> isAnswered = false;
  whenRunReturns_ = [&] { EXPECT_TRUE(isAnswered); };
  host_.close();
  listener_.progressSender()->reportProgress(event(1));

  isAnswered = true;
  request.reply(kReply);
  thread_.join();
}

TEST_F(VeskAppBundleInstallerLauncherServiceListenerTest, ARequestOfAHostThatClosesAtOnceIsServed) {
  call();
  host_.close();

  const auto request = service_.requests.pop();
  request.reply(kReply);
  thread_.join();

  EXPECT_EQ(request.message, kMessage);
}

TEST_F(VeskAppBundleInstallerLauncherServiceListenerTest, WhatOutlivesTheListenerIsHarmless) {
  std::optional<RecordingService::Request> request;
  std::shared_ptr<VeskAppBundleInstallerLauncherProgressXPCProtocol> sender;
  {
    auto sockets = testing::makeSocketPair();
    VeskAppBundleInstallerLauncherServiceListener other(std::move(sockets.service));
    sender = other.progressSender();
    std::jthread run([&] { other.run(service_); });
    const BusPeer host(std::move(sockets.host), BusPeer::Role::client);
    ASSERT_TRUE(host.connect());
    host.send(host.makeCall());
    request = service_.requests.pop();
    request->reply(kReply);
  }

  request->reply(kReply);
  sender->reportProgress(event(1));
}

/// What a listener does with an end that says `bytes` and nothing else.
class VeskAppBundleInstallerLauncherServiceListenerBytesTest : public ::testing::TestWithParam<std::string> {};

TEST_P(VeskAppBundleInstallerLauncherServiceListenerBytesTest, AnEndThatDoesNotSpeakTheProtocolIsLeft) {
  auto sockets = testing::makeSocketPair();
  VeskAppBundleInstallerLauncherServiceListener listener(std::move(sockets.service));
  ASSERT_EQ(write(sockets.host.get(), GetParam().data(), GetParam().size()), std::ssize(GetParam()));
  shutdown(sockets.host.get(), SHUT_WR);
  RecordingService service;

  listener.run(service);

  EXPECT_TRUE(service.requests.isEmpty());
}

/// The byte that every handshake begins with, then `lines`.
std::string nulAnd(const std::string& lines) {
  return std::string(1, '\0') + lines;
}

std::string handshakeAnd(const std::string& bytes) {
  std::string user;
  for (const char digit : std::to_string(geteuid())) user.append("3").append(1, digit);
  return nulAnd("AUTH EXTERNAL " + user + "\r\nBEGIN\r\n" + bytes);
}

INSTANTIATE_TEST_SUITE_P(Hostile, VeskAppBundleInstallerLauncherServiceListenerBytesTest,
                         ::testing::Values("", nulAnd(""), "GET / HTTP/1.1\r\n\r\n", std::string(4096, '\xff'),
                                           nulAnd("AUTH ANONYMOUS\r\nBEGIN\r\n"), nulAnd("AUTH EXTERNAL 39\r\n"),
                                           nulAnd("AUTH EXTERNAL 393939\r\nBEGIN\r\n"), handshakeAnd(""),
                                           handshakeAnd("l\1"), handshakeAnd(std::string(64, '\0')),
                                           handshakeAnd("l" + std::string(63, '\xff')),
                                           handshakeAnd("l" + std::string(63, '\1'))));

TEST(VeskAppBundleInstallerLauncherServiceListenerPeerTest, WhatIsNoSocketIsRefused) {
  FileDescriptor file(open("/dev/null", O_RDWR | O_CLOEXEC));

  EXPECT_THROW(VeskAppBundleInstallerLauncherServiceListener{std::move(file)}, QuillonSystemError);
}

TEST(VeskAppBundleInstallerLauncherServiceListenerPeerTest, ASocketOfAnotherUserIsRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make a socket as another user";
  // For this thread only, which is what a socket takes its credentials from.
  ASSERT_EQ(syscall(SYS_setresuid, -1, 65534, -1), 0);
  auto sockets = testing::makeSocketPair();
  ASSERT_EQ(syscall(SYS_setresuid, -1, 0, -1), 0);

  EXPECT_THROW(VeskAppBundleInstallerLauncherServiceListener{std::move(sockets.service)}, QuillonSystemError);
}

}  // namespace
}  // namespace quillon
