#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCConversation.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Progress = VeskAppBundleInstallerLaunchProgress;
using Request = VeskAppBundleXPCConversation::Request;
using Result = VeskAppBundleReplacementLaunchResult;

class VeskAppBundleXPCConversationTest : public ::testing::Test {
 protected:
  bool launch(const std::function<bool(Request)>& send) {
    return conversation.launch(
        send, [this] { heard.emplace_back("submitted"); },
        [this](const Result& result) { heard.push_back("reply " + std::string(result.caseName())); });
  }
  /// Sends one request, and notes what it is called.
  bool launch() {
    return launch([this](Request sent) {
      request = sent;
      return true;
    });
  }
  void reply() { conversation.didReply(request, xpcDictionary(Result::launched(), {})); }
  void progress() { conversation.didProgress(xpcDictionary(Progress::handoffStarted())); }
  void fail() { conversation.didFail(installerLauncherServiceConnectionInterrupted()); }

  std::vector<std::string> heard;
  std::function<void()> onError = [] {};
  VeskAppBundleXPCConversation conversation{[this](const QuillonSystemError&) {
                                              heard.emplace_back("error");
                                              onError();
                                            },
                                            [this](const Progress&) { heard.emplace_back("progress"); }};
  Request request = 0;
};

TEST_F(VeskAppBundleXPCConversationTest, ARequestHasItsEventsAndItsReply) {
  const bool wasSent = launch();
  progress();
  reply();

  EXPECT_TRUE(wasSent);
  EXPECT_THAT(heard, ElementsAre("submitted", "progress", "reply launched"));
}

TEST_F(VeskAppBundleXPCConversationTest, ASecondReplyIsDropped) {
  launch();
  reply();
  reply();

  EXPECT_THAT(heard, ElementsAre("submitted", "reply launched"));
}

TEST_F(VeskAppBundleXPCConversationTest, AReplyToNothingIsDropped) {
  reply();

  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(VeskAppBundleXPCConversationTest, AReplyThatCannotBeReadIsAProtocolFailure) {
  launch();
  conversation.didReply(request, {});

  EXPECT_THAT(heard, ElementsAre("submitted", "reply protocolFailure"));
}

TEST_F(VeskAppBundleXPCConversationTest, AnEventThatCannotBeReadIsDropped) {
  conversation.didProgress({});

  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(VeskAppBundleXPCConversationTest, ARequestThatCannotBeSentHasNoCallbacks) {
  const bool wasSent = launch([](Request) { return false; });
  conversation.didReply(1, xpcDictionary(Result::launched(), {}));

  EXPECT_FALSE(wasSent);
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(VeskAppBundleXPCConversationTest, OnlyTheFirstErrorIsHeard) {
  fail();
  fail();

  EXPECT_THAT(heard, ElementsAre("error"));
}

TEST_F(VeskAppBundleXPCConversationTest, NothingIsDeliveredAfterAnError) {
  launch();
  fail();
  progress();
  reply();

  EXPECT_THAT(heard, ElementsAre("submitted", "error"));
}

TEST_F(VeskAppBundleXPCConversationTest, AfterAnErrorNothingIsSentButTheErrorHasToldIt) {
  fail();
  const bool wasSent = launch([](Request) -> bool { throw std::logic_error("sent"); });

  EXPECT_TRUE(wasSent);
  EXPECT_THAT(heard, ElementsAre("error"));
}

TEST_F(VeskAppBundleXPCConversationTest, NothingIsSentOrDeliveredAfterInvalidation) {
  launch();
  conversation.invalidate();
  progress();
  reply();
  fail();
  const bool wasSent = launch([](Request) -> bool { throw std::logic_error("sent"); });

  EXPECT_FALSE(wasSent);
  EXPECT_THAT(heard, ElementsAre("submitted"));
}

TEST_F(VeskAppBundleXPCConversationTest, AnInvalidationWhileARequestIsSentTakesItBack) {
  const bool wasSent = launch([this](Request) {
    conversation.invalidate();
    return true;
  });

  EXPECT_FALSE(wasSent);
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(VeskAppBundleXPCConversationTest, AnErrorOfTheThreadThatSendsIsHeardOnceItHasSent) {
  const bool wasSent = launch([this](Request) {
    fail();
    heard.emplace_back("sent");
    return true;
  });

  EXPECT_TRUE(wasSent);
  EXPECT_THAT(heard, ElementsAre("sent", "error"));
}

TEST_F(VeskAppBundleXPCConversationTest, AnErrorOfTheThreadThatSendsWaitsForTheOtherRequestsOfThatThread) {
  (void)conversation.launch([](Request) { return true; },
                            [this] {
                              launch([this](Request) {
                                fail();
                                return true;
                              });
                              heard.emplace_back("submitted");
                            },
                            [](const Result&) {});

  EXPECT_THAT(heard, ElementsAre("submitted", "error"));
}

TEST_F(VeskAppBundleXPCConversationTest, AnErrorOfARequestThatACallbackSendsIsHeardAfterThatCallback) {
  (void)conversation.launch([this](Request sent) { return (request = sent) != 0; }, [] {},
                            [this](const Result&) {
                              launch([this](Request) {
                                fail();
                                return true;
                              });
                              heard.emplace_back("reply");
                            });
  reply();

  EXPECT_THAT(heard, ElementsAre("reply", "error"));
}

TEST_F(VeskAppBundleXPCConversationTest, OnlyTheFirstErrorOfTheThreadThatSendsIsHeard) {
  launch([this](Request) {
    fail();
    fail();
    return true;
  });
  fail();

  EXPECT_THAT(heard, ElementsAre("error"));
}

TEST_F(VeskAppBundleXPCConversationTest, AnInvalidationDropsAnErrorOfTheThreadThatSends) {
  const bool wasSent = launch([this](Request) {
    fail();
    conversation.invalidate();
    return true;
  });

  EXPECT_FALSE(wasSent);
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(VeskAppBundleXPCConversationTest, AReplyWaitsUntilTheRequestIsKnownToBeSubmitted) {
  std::jthread system;
  std::promise<void> begun;

  launch([&](Request sent) {
    system = std::jthread([&, sent] {
      begun.set_value();
      conversation.didReply(sent, xpcDictionary(Result::launched(), {}));
    });
    begun.get_future().wait();
    return true;
  });
  system.join();

  EXPECT_THAT(heard, ElementsAre("submitted", "reply launched"));
}

TEST_F(VeskAppBundleXPCConversationTest, WhatWaitsForARequestIsDroppedByAnInvalidation) {
  std::jthread system;

  (void)conversation.launch([&](Request) { return true; },
                            [&] {
                              system = std::jthread([&] { progress(); });
                              conversation.invalidate();
                              system.join();
                            },
                            [](const Result&) {});

  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(VeskAppBundleXPCConversationTest, ACallbackMayInvalidateAndWaitForItself) {
  onError = [this] {
    conversation.invalidate();
    conversation.waitForCallback();
  };

  fail();

  EXPECT_THAT(heard, ElementsAre("error"));
}

TEST_F(VeskAppBundleXPCConversationTest, WaitingForACallbackReturnsWhenItHasReturned) {
  std::promise<void> begun;
  std::promise<void> mayEnd;
  bool hasEnded = false;
  onError = [&] {
    begun.set_value();
    mayEnd.get_future().wait();
    hasEnded = true;
  };
  std::jthread system([this] { fail(); });
  begun.get_future().wait();
  mayEnd.set_value();

  conversation.waitForCallback();

  EXPECT_TRUE(hasEnded);
}

TEST_F(VeskAppBundleXPCConversationTest, ACallbackMaySendAnotherRequest) {
  bool wasSent = false;
  launch();

  (void)conversation.launch([this](Request sent) { return (request = sent) != 0; }, [] {},
                            [&](const Result&) { wasSent = launch(); });
  reply();

  EXPECT_TRUE(wasSent);
}

TEST_F(VeskAppBundleXPCConversationTest, CallbacksRunOneAtATimeFromWhicheverThreads) {
  constexpr int kThreads = 4;
  constexpr int kEvents = 200;
  {
    std::vector<std::jthread> system;
    for (int index = 0; index < kThreads; ++index) {
      system.emplace_back([this] {
        for (int event = 0; event < kEvents; ++event) progress();
      });
    }
  }

  EXPECT_EQ(heard.size(), kThreads * kEvents);
}

}  // namespace
}  // namespace quillon
