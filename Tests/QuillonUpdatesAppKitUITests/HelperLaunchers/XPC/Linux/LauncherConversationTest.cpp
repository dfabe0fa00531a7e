// Whole launches over a socket, with services that end, fall silent or misbehave at each point.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/QuillonTimerThread.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusDictionary.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleBusInstallerLauncherServiceConnection.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessage.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCUpdateHelperLauncher.h"
#include "Support/BusPeer.h"
#include "Support/SocketPair.h"

namespace quillon {
namespace {

using Phase = VeskAppBundleInstallerLaunchPhase;
using Progress = VeskAppBundleInstallerLaunchProgress;
using Result = VeskAppBundleReplacementLaunchResult;
using testing::BusPeer;

constexpr std::uint64_t kNoLimit = 0;
constexpr std::uint64_t kShort = 1'000'000;

/// Connects each launch with a service that is a function on a thread of its own.
class SocketConnectionFactory final : public VeskAppBundleInstallerLauncherServiceConnectionMaking {
 public:
  using Service = std::function<void(FileDescriptor)>;

  explicit SocketConnectionFactory(Service service) : service_(std::move(service)) {}

  std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection> make(
      const std::string& /*serviceName*/, ErrorHandler errorHandler,
      VeskAppBundleInstallerLaunchProgressHandler progressHandler) noexcept override {
    auto sockets = testing::makeSocketPair();
    thread_ = std::jthread(service_, std::move(sockets.service));
    return std::make_shared<VeskAppBundleBusInstallerLauncherServiceConnection>(
        std::move(sockets.host), std::move(errorHandler), std::move(progressHandler));
  }

 private:
  const Service service_;
  std::jthread thread_;
};

/// The events of a launch with a dialog.
std::vector<Progress> allEvents() {
  return {Progress::handoffStarted(), Progress::authorizationRequired({}), Progress::authorizationBegan(),
          Progress::authorizationEnded(1), Progress::jobSubmitted()};
}

/// A service of the test: it has received the request `call`.
struct ServedCall {
  BusPeer& service;
  BusPeer::Message call;

  /// Ends early when the host has given up.
  void report(std::size_t eventCount) const {
    const auto events = allEvents();
    for (std::size_t i = 0; i < eventCount; ++i) {
      const auto signal = service.makeSignal();
      ASSERT_GE(appendLauncherBusDictionary(signal.get(), xpcDictionary(events[i])), 0);
      if (!service.trySend(signal)) return;
    }
  }
  /// Goes nowhere when the host has all that it wants.
  void reply(const Result& result) const {
    const auto message = BusPeer::makeReturn(call);
    ASSERT_GE(appendLauncherBusDictionary(message.get(), xpcDictionary(result, {})), 0);
    (void)service.trySend(message);
  }
  /// Keeps the connection until the host ends it.
  void waitForTheEnd() const {
    while (service.receive()) {
    }
  }
};

class LauncherConversationTest : public ::testing::Test {
 protected:
  Result launch(SocketConnectionFactory::Service service, std::uint64_t before = kNoLimit,
                std::uint64_t after = kNoLimit) {
    VeskAppBundleXPCUpdateHelperLauncher launcher(std::make_shared<SocketConnectionFactory>(std::move(service)),
                                                  "service", before, after, timers_);
    return launcher.launchReplacement({.stagedApplicationURL = QuillonURL::fileURL("/staging/Example.app"),
                                       .installedApplicationURL = QuillonURL::fileURL("/Applications/Example.app"),
                                       .helperExecutableURL = std::nullopt,
                                       .hostIdentity = std::nullopt,
                                       .shouldRequestAuthorizationIfNeeded = true,
                                       .launchUserContext = std::nullopt,
                                       .failureReportURL = std::nullopt,
                                       .failureReportAttemptIdentifier = std::nullopt},
                                      [this](const Progress& event) { events_.push_back(event); });
  }

  /// The same with a service that is called when it has the request.
  Result launchServed(const std::function<void(const ServedCall&)>& serve, std::uint64_t before = kNoLimit,
                      std::uint64_t after = kNoLimit) {
    return launch(
        [serve](FileDescriptor socket) {
          BusPeer service(std::move(socket), BusPeer::Role::server);
          serve({.service = service, .call = service.receive()});
        },
        before, after);
  }

  static Result failure(const QuillonSystemError& error) {
    return Result::protocolFailure({.phase = Phase::xpcConnection,
                                    .errorDomain = error.domain(),
                                    .errorCode = error.code(),
                                    .errorDescription = error.description()});
  }

  std::shared_ptr<QuillonTimerThread> timers_ = std::make_shared<QuillonTimerThread>();
  std::vector<Progress> events_;
};

TEST_F(LauncherConversationTest, ALaunchReportsItsProgressAndItsResult) {
  const auto result = launchServed([](const ServedCall& served) {
    served.report(5);
    served.reply(Result::launched());
    served.waitForTheEnd();
  });

  EXPECT_EQ(result, Result::launched());
  EXPECT_EQ(events_, allEvents());
}

TEST_F(LauncherConversationTest, AServiceThatEndsAfterAnyEventIsAnInterruption) {
  for (std::size_t count = 0; count <= allEvents().size(); ++count) {
    SCOPED_TRACE(count);
    events_.clear();

    const auto result = launchServed([count](const ServedCall& served) { served.report(count); });

    EXPECT_EQ(result, failure(installerLauncherServiceConnectionInterrupted()));
    EXPECT_EQ(events_.size(), count);
  }
}

TEST_F(LauncherConversationTest, AServiceThatAnswersAndEndsHasAnswered) {
  const auto result = launchServed([](const ServedCall& served) { served.reply(Result::authorizationDenied(-60005)); });

  EXPECT_EQ(result, Result::authorizationDenied(-60005));
}

TEST_F(LauncherConversationTest, AServiceThatFallsSilentTimesOut) {
  for (const std::size_t count : {0U, 1U, 2U}) {
    SCOPED_TRACE(count);

    const auto result = launchServed(
        [count](const ServedCall& served) {
          served.report(count);
          served.waitForTheEnd();
        },
        kShort);

    EXPECT_EQ(result, Result::timedOut(Phase::preAuthorization));
  }
}

TEST_F(LauncherConversationTest, AServiceThatFallsSilentAfterTheDialogTimesOut) {
  for (const std::size_t count : {4U, 5U}) {
    SCOPED_TRACE(count);

    const auto result = launchServed(
        [count](const ServedCall& served) {
          served.report(count);
          served.waitForTheEnd();
        },
        kNoLimit, kShort);

    EXPECT_EQ(result, Result::timedOut(Phase::postAuthorization));
  }
}

TEST_F(LauncherConversationTest, AServiceThatNeverAnswersTheHandshakeTimesOut) {
  const auto result = launch(
      [](const FileDescriptor& socket) {
        char byte = 0;
        while (recv(socket.get(), &byte, 1, 0) > 0) {
        }
      },
      kShort);

  EXPECT_EQ(result, Result::timedOut(Phase::preAuthorization));
}

TEST_F(LauncherConversationTest, AServiceThatIsNoneInvalidatesTheConnection) {
  const auto result = launch([](const FileDescriptor& socket) {
    const std::string text = "SSH-2.0-example\r\nsecond line\r\nthird line\r\n";
    EXPECT_EQ(write(socket.get(), text.data(), text.size()), std::ssize(text));
    char byte = 0;
    while (recv(socket.get(), &byte, 1, 0) > 0) {
    }
  });

  EXPECT_EQ(result, failure(installerLauncherServiceConnectionInvalidated()));
}

TEST_F(LauncherConversationTest, AServiceThatAnswersTwiceIsHeardOnce) {
  const auto result = launchServed([](const ServedCall& served) {
    served.reply(Result::authorizationCancelled(-60006));
    served.reply(Result::launched());
    served.waitForTheEnd();
  });

  EXPECT_EQ(result, Result::authorizationCancelled(-60006));
}

TEST_F(LauncherConversationTest, AnAnswerThatIsNoneIsAnInvalidResult) {
  const auto result = launchServed([](const ServedCall& served) {
    served.service.send(BusPeer::makeReturn(served.call));
    served.waitForTheEnd();
  });

  EXPECT_EQ(result, Result::protocolFailure({.phase = Phase::xpcReply,
                                             .errorDomain = "Quillon.XPCReply",
                                             .errorCode = std::nullopt,
                                             .errorDescription = "The launcher service returned an invalid result."}));
}

}  // namespace
}  // namespace quillon
