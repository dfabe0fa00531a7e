#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <iterator>
#include <latch>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusDictionary.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleBusInstallerLauncherServiceConnection.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleInstallerLauncherServiceListener.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"
#include "Support/BlockingQueue.h"
#include "Support/BusPeer.h"
#include "Support/SocketPair.h"
#include "Support/ThreadState.h"

namespace quillon {
namespace {

using Connection = VeskAppBundleBusInstallerLauncherServiceConnection;
using Dictionary = QuillonPropertyListValue::Dictionary;
using Progress = VeskAppBundleInstallerLaunchProgress;
using Result = VeskAppBundleReplacementLaunchResult;
using testing::append;
using testing::BlockingQueue;
using testing::BusPeer;

constexpr const char* kInterrupted = "The installer launcher XPC connection was interrupted.";
constexpr const char* kInvalidated = "The installer launcher XPC connection was invalidated.";
constexpr const char* kInvalidReply = "The launcher service returned an invalid result.";

const Dictionary kMessage = {{"bundleIdentifier", QuillonPropertyListValue("org.example.App")}};

std::string textOf(const Result& result) {
  const auto* const failure = std::get_if<Result::ProtocolFailure>(&result.value);
  return failure == nullptr ? std::string(result.caseName()) : failure->diagnostic.errorDescription.value_or("");
}

/// Sends `bytes` and, with them, a copy of the socket itself.
bool sendWithDescriptor(const FileDescriptor& socket, std::string bytes) {
  iovec part{.iov_base = bytes.data(), .iov_len = bytes.size()};
  alignas(cmsghdr) std::array<unsigned char, CMSG_SPACE(sizeof(int))> control{};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  cmsghdr* const attached = CMSG_FIRSTHDR(&message);
  attached->cmsg_level = SOL_SOCKET;
  attached->cmsg_type = SCM_RIGHTS;
  attached->cmsg_len = CMSG_LEN(sizeof(int));
  const int descriptor = socket.get();
  std::copy_n(reinterpret_cast<const unsigned char*>(&descriptor), sizeof descriptor, CMSG_DATA(attached));
  return sendmsg(socket.get(), &message, MSG_NOSIGNAL) == std::ssize(bytes);
}

bool writeText(const FileDescriptor& socket, const std::string& bytes) {
  return send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) == std::ssize(bytes);
}

/// Bytes that the other end has not taken.
int bytesOnTheirWay(const FileDescriptor& socket) {
  int count = 0;
  return ioctl(socket.get(), SIOCOUTQ, &count) == 0 ? count : 0;
}

const std::string kHandshakeWithDescriptors = "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n";

/// Of an event of more than 1,000 bytes, in little-endian order: more than 256 of them, and never all.
std::string beginningOfAnEvent() {
  return std::string("l\4\0\1\xe8\3\0\0\1\0\0\0\x64\0\0\0", 16) + std::string(300, '\0');
}

std::ptrdiff_t openDescriptorCount() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return std::distance(begin(descriptors), end(descriptors));
}

/// A connection whose callbacks are written down in their order. What every connection promises is tried by
/// VeskAppBundleInstallerLauncherServiceConnectionContract.
class VeskAppBundleBusInstallerLauncherServiceConnectionTest : public ::testing::Test {
 protected:
  void makeConnection(FileDescriptor socket) {
    connection_ = std::make_shared<Connection>(
        std::move(socket), [this](const QuillonSystemError& error) { note(error.description()); },
        [this](const Progress& progress) { note(std::string(progress.caseName())); });
  }

  /// Also does what the test has set for the next callback.
  void note(const std::string& callback) {
    callbacks_.push(callback);
    if (const auto called = std::exchange(whenCalled_, nullptr)) called();
  }

  bool launch() {
    return connection_->launchReplacement(
        kMessage, [this] { callbacks_.push("submitted"); }, [this](const Result& result) { note(textOf(result)); });
  }

  /// A request that `service` has received.
  BusPeer::Message launchAndReceive(const BusPeer& service) {
    EXPECT_TRUE(launch());
    EXPECT_EQ(callbacks_.pop(), "submitted");
    connection_->resume();
    return service.receive();
  }

  static void reply(const BusPeer& service, const BusPeer::Message& call, const Result& result) {
    const auto message = BusPeer::makeReturn(call);
    ASSERT_GE(appendLauncherBusDictionary(message.get(), xpcDictionary(result, {})), 0);
    // To nobody, when the host has ended the conversation meanwhile.
    (void)service.trySend(message);
  }

  static void report(const BusPeer& service, const Progress& progress) {
    const auto message = service.makeSignal();
    ASSERT_GE(appendLauncherBusDictionary(message.get(), xpcDictionary(progress)), 0);
    (void)service.trySend(message);
  }

  BlockingQueue<std::string> callbacks_;
  std::function<void()> whenCalled_;
  testing::SocketPair sockets_ = testing::makeSocketPair();
  std::shared_ptr<Connection> connection_;
};

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, ASecondReplyIsPassedOver) {
  makeConnection(std::move(sockets_.host));
  const BusPeer service(std::move(sockets_.service), BusPeer::Role::server);
  const auto call = launchAndReceive(service);

  reply(service, call, Result::launched());
  reply(service, call, Result::helperUnavailable());
  report(service, Progress::jobSubmitted());

  EXPECT_EQ(callbacks_.pop(), "launched");
  EXPECT_EQ(callbacks_.pop(), "jobSubmitted");
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, AReplyToNothingIsPassedOver) {
  makeConnection(std::move(sockets_.host));
  const BusPeer service(std::move(sockets_.service), BusPeer::Role::server);
  const auto call = launchAndReceive(service);
  const auto other = service.makeCall();
  ASSERT_GE(sd_bus_message_seal(other.get(), 4711, 0), 0);

  reply(service, other, Result::helperUnavailable());
  reply(service, call, Result::launched());

  EXPECT_EQ(callbacks_.pop(), "launched");
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, AReplyThatCannotBeReadIsAnInvalidResult) {
  makeConnection(std::move(sockets_.host));
  const BusPeer service(std::move(sockets_.service), BusPeer::Role::server);
  std::vector<BusPeer::Message> calls = {launchAndReceive(service)};
  for (int i = 0; i < 4; ++i) {
    EXPECT_TRUE(launch());
    EXPECT_EQ(callbacks_.pop(), "submitted");
    calls.push_back(service.receive());
  }

  service.send(BusPeer::makeReturn(calls[0]));
  const auto text = BusPeer::makeReturn(calls[1]);
  append(text, "s", "launched");
  service.send(text);
  const auto nested = BusPeer::makeReturn(calls[2]);
  append(nested, "a{sv}", 2, "result", "s", "launched", "more", "a{sv}", 0);
  service.send(nested);
  const auto unknown = BusPeer::makeReturn(calls[3]);
  append(unknown, "a{sv}", 1, "result", "s", "perhaps");
  service.send(unknown);
  ASSERT_GE(sd_bus_reply_method_errorf(calls[4].get(), SD_BUS_ERROR_FAILED, "no"), 0);

  for (int i = 0; i < 5; ++i) EXPECT_EQ(callbacks_.pop(), kInvalidReply);
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, EventsThatCannotBeReadArePassedOver) {
  makeConnection(std::move(sockets_.host));
  const BusPeer service(std::move(sockets_.service), BusPeer::Role::server);
  const auto call = launchAndReceive(service);

  const auto unknown = service.makeSignal();
  append(unknown, "a{sv}", 1, "event", "s", "later");
  service.send(unknown);
  const auto text = service.makeSignal();
  append(text, "s", "jobSubmitted");
  service.send(text);
  service.send(service.makeSignal("Other"));
  service.send(service.makeSignal("ReportProgress", "org.example.Other"));
  report(service, Progress::jobSubmitted());

  EXPECT_EQ(callbacks_.pop(), "jobSubmitted");
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, AHostTakesNoRequests) {
  makeConnection(std::move(sockets_.host));
  const BusPeer service(std::move(sockets_.service), BusPeer::Role::server);
  const auto call = launchAndReceive(service);

  service.send(service.makeCall());

  const auto answer = service.receive();
  EXPECT_GT(sd_bus_message_is_method_error(answer.get(), SD_BUS_ERROR_UNKNOWN_METHOD), 0);
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, AServiceThatEndsInterruptsTheConnection) {
  makeConnection(std::move(sockets_.host));
  BusPeer service(std::move(sockets_.service), BusPeer::Role::server);
  (void)launchAndReceive(service);

  report(service, Progress::handoffStarted());
  service.close();

  EXPECT_EQ(callbacks_.pop(), "handoffStarted");
  EXPECT_EQ(callbacks_.pop(), kInterrupted);
  connection_.reset();
  EXPECT_TRUE(callbacks_.isEmpty());
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, ARequestAfterTheErrorHasHadItsError) {
  makeConnection(std::move(sockets_.host));
  sockets_.service.reset();
  connection_->resume();
  EXPECT_EQ(callbacks_.pop(), kInvalidated);

  EXPECT_TRUE(launch());
  connection_->invalidate();
  EXPECT_FALSE(launch());

  connection_.reset();
  EXPECT_TRUE(callbacks_.isEmpty());
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, ARequestBeforeTheErrorIsReportedGetsThatError) {
  makeConnection(std::move(sockets_.host));
  const FileDescriptor other(fcntl(sockets_.service.get(), F_DUPFD_CLOEXEC, 0));
  const BusPeer service(std::move(sockets_.service), BusPeer::Role::server);
  (void)launchAndReceive(service);
  BlockingQueue<bool> goOn;
  whenCalled_ = [&goOn] { goOn.pop(); };
  report(service, Progress::handoffStarted());
  EXPECT_EQ(callbacks_.pop(), "handoffStarted");

  // The thread that would report the error is busy.
  shutdown(other.get(), SHUT_RD);
  EXPECT_TRUE(launch());
  EXPECT_TRUE(callbacks_.isEmpty());
  goOn.push(true);

  EXPECT_EQ(callbacks_.pop(), kInterrupted);
  connection_.reset();
  EXPECT_TRUE(callbacks_.isEmpty());
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, AServiceThatOnlyStopsToReceiveInterruptsTheConnection) {
  makeConnection(std::move(sockets_.host));
  const FileDescriptor other(fcntl(sockets_.service.get(), F_DUPFD_CLOEXEC, 0));
  const BusPeer service(std::move(sockets_.service), BusPeer::Role::server);
  (void)launchAndReceive(service);
  BlockingQueue<pid_t> receiver;
  whenCalled_ = [&receiver] { receiver.push(gettid()); };
  report(service, Progress::handoffStarted());
  EXPECT_EQ(callbacks_.pop(), "handoffStarted");
  ASSERT_TRUE(testing::waitUntilAsleep(receiver.pop()));

  shutdown(other.get(), SHUT_RD);
  EXPECT_TRUE(launch());

  EXPECT_EQ(callbacks_.pop(), kInterrupted);
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, WithoutAThreadToReceiveTheConnectionIsInvalidated) {
  makeConnection(std::move(sockets_.host));
  pthread_attr_t usual;
  pthread_attr_t tooLarge;
  ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
  ASSERT_EQ(pthread_getattr_default_np(&tooLarge), 0);
  // No address space has room for such a stack.
  ASSERT_EQ(pthread_attr_setstacksize(&tooLarge, std::size_t{1} << 60), 0);
  ASSERT_EQ(pthread_setattr_default_np(&tooLarge), 0);

  connection_->resume();

  ASSERT_EQ(pthread_setattr_default_np(&usual), 0);
  ASSERT_FALSE(callbacks_.isEmpty());
  EXPECT_EQ(callbacks_.pop(), kInvalidated);
  EXPECT_TRUE(launch());
  EXPECT_TRUE(callbacks_.isEmpty());
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, AServiceThatEndsBeforeTheHandshakeInvalidatesIt) {
  makeConnection(std::move(sockets_.host));
  sockets_.service.reset();
  connection_->resume();

  EXPECT_EQ(callbacks_.pop(), kInvalidated);
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, AnotherProtocolInvalidatesTheConnection) {
  const std::string text = "HTTP/1.1 400 Bad Request\r\nConnection: close\r\n\r\n";
  ASSERT_EQ(write(sockets_.service.get(), text.data(), text.size()), std::ssize(text));
  makeConnection(std::move(sockets_.host));
  EXPECT_TRUE(launch());
  EXPECT_EQ(callbacks_.pop(), "submitted");
  connection_->resume();

  EXPECT_EQ(callbacks_.pop(), kInvalidated);
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, GarbageAfterTheHandshakeInvalidatesTheConnection) {
  const std::string text =
      "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nERROR\r\n" + std::string(64, '\xff') + std::string(64, '\0');
  ASSERT_EQ(write(sockets_.service.get(), text.data(), text.size()), std::ssize(text));
  makeConnection(std::move(sockets_.host));
  connection_->resume();

  EXPECT_EQ(callbacks_.pop(), kInvalidated);
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, ALineTooManyInTheHandshakeDoesNoHarm) {
  const std::string text = "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\n\r\n\r\n\r\n";
  ASSERT_EQ(write(sockets_.service.get(), text.data(), text.size()), std::ssize(text));
  makeConnection(std::move(sockets_.host));
  connection_->resume();
  shutdown(sockets_.service.get(), SHUT_WR);

  EXPECT_THAT(callbacks_.pop(), ::testing::AnyOf(kInterrupted, kInvalidated));
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, AServiceThatWantsToSendDescriptorsInvalidatesIt) {
  makeConnection(std::move(sockets_.host));
  ASSERT_TRUE(writeText(sockets_.service, kHandshakeWithDescriptors));
  const auto before = openDescriptorCount();
  connection_->resume();
  while (bytesOnTheirWay(sockets_.service) > 0) std::this_thread::yield();

  // The host may have hung up by then.
  (void)sendWithDescriptor(sockets_.service, beginningOfAnEvent());
  shutdown(sockets_.service.get(), SHUT_WR);

  EXPECT_EQ(callbacks_.pop(), kInvalidated);
  EXPECT_LE(openDescriptorCount(), before);
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, AMessageThatCameWithTheHandshakeBringsNoDescriptors) {
  makeConnection(std::move(sockets_.host));
  // More than sd-bus reads of a handshake at once, 256 bytes, so that what follows is the rest of a message.
  ASSERT_TRUE(writeText(sockets_.service, kHandshakeWithDescriptors + beginningOfAnEvent()));
  ASSERT_TRUE(sendWithDescriptor(sockets_.service, "more"));
  shutdown(sockets_.service.get(), SHUT_WR);
  const auto before = openDescriptorCount();

  connection_->resume();

  EXPECT_EQ(callbacks_.pop(), kInvalidated);
  EXPECT_LE(openDescriptorCount(), before);
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, DescriptorsAmongTheHandshakeInvalidateTheConnection) {
  makeConnection(std::move(sockets_.host));
  ASSERT_TRUE(sendWithDescriptor(sockets_.service, "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n"));
  const auto before = openDescriptorCount();

  connection_->resume();

  EXPECT_EQ(callbacks_.pop(), kInvalidated);
  EXPECT_LE(openDescriptorCount(), before);
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, LettingGoWaitsForACallbackThatRuns) {
  makeConnection(std::move(sockets_.host));
  const BusPeer service(std::move(sockets_.service), BusPeer::Role::server);
  const auto call = launchAndReceive(service);
  BlockingQueue<bool> isReleased;
  whenCalled_ = [&] {
    isReleased.pop();
    callbacks_.push("returned");
  };
  report(service, Progress::handoffStarted());
  EXPECT_EQ(callbacks_.pop(), "handoffStarted");

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

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, AConnectionThatWasNeverResumedEndsQuietly) {
  makeConnection(std::move(sockets_.host));
  EXPECT_TRUE(launch());

  connection_.reset();

  EXPECT_EQ(callbacks_.pop(), "submitted");
  EXPECT_TRUE(callbacks_.isEmpty());
}

TEST_F(VeskAppBundleBusInstallerLauncherServiceConnectionTest, ManyThreadsMaySendAndInvalidateAtOnce) {
  class Service final : public VeskAppBundleInstallerLauncherXPCProtocol {
   public:
    void launchReplacement(const Dictionary& /*message*/, Reply reply) override {
      reply(xpcDictionary(Result::launched(), {}));
    }
  };
  for (int round = 0; round < 20; ++round) {
    auto sockets = testing::makeSocketPair();
    VeskAppBundleInstallerLauncherServiceListener listener(std::move(sockets.service));
    std::jthread serving([&] {
      Service service;
      listener.run(service);
    });
    BlockingQueue<std::string> replies;
    std::atomic<int> accepted = 0;
    auto connection = std::make_shared<Connection>(
        std::move(sockets.host), [](const QuillonSystemError& error) { FAIL() << error.what(); },
        [](const Progress& /*progress*/) {});
    connection->resume();
    std::latch start(4);
    std::vector<std::jthread> threads;
    threads.reserve(3);
    for (int i = 0; i < 3; ++i) {
      threads.emplace_back([&, connection] {
        start.arrive_and_wait();
        for (int launch = 0; launch < 10; ++launch) {
          const bool didSend = connection->launchReplacement(
              kMessage, [] {}, [&](const Result& result) { replies.push(textOf(result)); });
          if (didSend) ++accepted;
        }
      });
    }
    start.arrive_and_wait();
    const bool isInvalidated = round % 2 == 0;
    if (isInvalidated) connection->invalidate();
    threads.clear();
    if (!isInvalidated) {
      EXPECT_EQ(accepted, 30);
      for (int reply = 0; reply < 30; ++reply) EXPECT_EQ(replies.pop(), "launched");
    }
    connection.reset();
    int left = 0;
    for (; !replies.isEmpty(); ++left) EXPECT_EQ(replies.pop(), "launched");
    EXPECT_LE(left, isInvalidated ? accepted.load() : 0);
  }
}

}  // namespace
}  // namespace quillon
