#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "QuillonUpdatesCore/VeskUpdateFeedParser.h"
#include "SampleHost/Sources/UpdateDecision.h"
#include "Support/FakeKeyValueStore.h"

namespace sample {
namespace {

using quillon::QuillonDate;
using std::chrono::hours;

constexpr QuillonDate kNow = std::chrono::sys_days{std::chrono::year{2026} / std::chrono::May / std::chrono::day{4}};

/// A feed that offers version 2.0, with what else its entry has.
quillon::VeskUpdateFeed feedWith(const std::string& more) {
  return quillon::VeskUpdateFeedParser().parseFeed(
      "<plist "
      "version=\"1.0\"><array><dict><key>type</key><string>update</string><key>id</key><string>sample-2.0</string>"
      "<key>current</key><string>2.0</string><key>currentbuild</key><string>1</string>" +
      more + "</dict></array></plist>");
}

class UpdateDecisionTest : public ::testing::Test {
 protected:
  /// Whether the entry is shown at a check that nobody has asked for.
  [[nodiscard]] bool isShown() {
    const auto feed = feedWith("");
    const auto decision = decideOnUpdate(feed, host_, memory_, false, kNow);
    return decision.selectedCandidate && decision.selectedCandidate->display.shouldDisplayNow;
  }
  [[nodiscard]] bool isHeldBack(const std::string& more) {
    const auto feed = feedWith(more);
    const auto decision = decideOnUpdate(feed, host_, memory_, false, kNow);
    EXPECT_TRUE(decision.selectedCandidate);
    return decision.selectedCandidate && isWithheld(*decision.selectedCandidate, host_, memory_);
  }

  const HostInformation host_{.bundle = quillon::QuillonURL::fileURL("/Sample.app"),
                              .identifier = "org.example.Sample",
                              .name = "Sample",
                              .version = "1.0",
                              .build = 1,
                              .feed = quillon::QuillonURL::fileURL("/feed.plist"),
                              .downloadPage = {},
                              .distribution = {},
                              .team = {}};
  UpdateMemory memory_{std::make_shared<quillon::testing::FakeKeyValueStore>()};
};

TEST_F(UpdateDecisionTest, AnOfferIsRepeatedWhenTheReminderDelayIsOver) {
  EXPECT_TRUE(isShown());
  memory_.setLastOffer(kNow - hours(kReminderDelayHours - 1));
  EXPECT_FALSE(isShown());
  memory_.setLastOffer(kNow - hours(kReminderDelayHours));
  EXPECT_TRUE(isShown());
}

TEST_F(UpdateDecisionTest, AnOfferFromBeforeTheClockWasSetBackDelaysNothing) {
  memory_.setLastOffer(kNow + hours(1));

  EXPECT_TRUE(isShown());
}

TEST_F(UpdateDecisionTest, OnlyWhatSomebodySaidNoToIsHeldBack) {
  EXPECT_FALSE(isHeldBack(""));
  memory_.setSkippedEntry("sample-1.9");
  memory_.setRefusedEntry("sample-1.9");
  EXPECT_FALSE(isHeldBack(""));
}

TEST_F(UpdateDecisionTest, ASkippedEntryIsHeldBackUnlessTheInstalledVersionMustTakeIt) {
  memory_.setSkippedEntry("sample-2.0");

  EXPECT_TRUE(isHeldBack(""));
  EXPECT_TRUE(isHeldBack("<key>mustupdate</key><string>0.9</string>"));
  EXPECT_FALSE(isHeldBack("<key>mustupdate</key><string>1.0</string>"));
}

TEST_F(UpdateDecisionTest, AnEntryThatNoAdministratorAllowedIsHeldBackInAnyCase) {
  memory_.setRefusedEntry("sample-2.0");

  EXPECT_TRUE(isHeldBack(""));
  EXPECT_TRUE(isHeldBack("<key>mustupdate</key><string>1.0</string>"));
}

}  // namespace
}  // namespace sample
