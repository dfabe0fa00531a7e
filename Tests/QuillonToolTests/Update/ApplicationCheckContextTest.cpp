#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "QuillonTool/Update/ApplicationCheckContext.h"
#include "Support/FakeKeyValueStore.h"
#include "Support/RecordingLogger.h"

namespace quillon {
namespace {

using std::chrono::hours;
using ::testing::UnorderedElementsAre;

class ApplicationCheckContextTest : public ::testing::Test {
 protected:
  [[nodiscard]] FeedCheckContext context() const {
    return makeFeedCheckContext(application_, memory_, options_, environment_, now_);
  }

  const QuillonDate now_ = std::chrono::sys_days{std::chrono::year{2026} / 6 / 11};
  InstalledApplication application_{.bundle = QuillonURL::fileURL("/A.app"),
                                    .name = "A",
                                    .identifier = "org.example.A",
                                    .version = "1.0",
                                    .build = 7,
                                    .feed = {},
                                    .skus = {"direct"}};
  const std::shared_ptr<testing::FakeKeyValueStore> settings_ = std::make_shared<testing::FakeKeyValueStore>();
  VeskUpdateMemory memory_{settings_, std::make_shared<testing::RecordingLogger>()};
  UpdateOptions options_{.bundle = application_.bundle,
                         .feed = {},
                         .betaPreference = {},
                         .skus = {"beta"},
                         .quitLimit = {},
                         .logFile = {}};
  const UpdateEnvironment environment_{.systemVersion = {.major = 6, .minor = 1, .patch = 2},
                                       .languages = {"de-AT", "en"}};
};

TEST_F(ApplicationCheckContextTest, TheApplicationAndTheMachineAreDescribed) {
  const FeedCheckContext context = this->context();

  EXPECT_EQ(context.applicability.appVersion, "1.0");
  EXPECT_EQ(context.applicability.appBuild, 7);
  EXPECT_EQ(context.applicability.currentOSVersion, "6.1.2");
  EXPECT_EQ(context.applicability.preferredLanguageCode, "de");
  EXPECT_THAT(context.applicability.acceptedSKUs, UnorderedElementsAre("direct", "beta"));
  EXPECT_TRUE(context.applicability.canProcessUpdateFeeds && context.display.canProcessUpdateFeeds);
  EXPECT_EQ(context.applicability.now, now_);
  EXPECT_EQ(context.display.now, now_);
  EXPECT_EQ(context.display.appVersion, "1.0");
}

TEST_F(ApplicationCheckContextTest, ARunIsAManualCheckUnlessItIsScheduled) {
  EXPECT_TRUE(context().applicability.isManualCheck && context().display.isManualCheck);

  options_.isScheduled = true;

  EXPECT_FALSE(context().applicability.isManualCheck || context().display.isManualCheck);
}

TEST_F(ApplicationCheckContextTest, WhatIsRememberedCounts) {
  settings_->set(
      QuillonPropertyListValue(QuillonPropertyListValue::Dictionary{{"update", QuillonPropertyListValue("2.0")}}),
      VeskUpdateMemory::shownIdentifiersKey);
  memory_.setLastShown(now_ - hours(1));
  memory_.setChecksForBetas(true);
  settings_->set(QuillonPropertyListValue(5), VeskUpdateMemory::reminderHoursKey);
  settings_->set(QuillonPropertyListValue(3), VeskUpdateMemory::staggerGroupKey);

  const FeedCheckContext context = this->context();

  EXPECT_EQ(context.display.storedFeedIdentifier, "2.0");
  EXPECT_EQ(context.display.lastNewsDisplayedDate, now_ - hours(1));
  EXPECT_EQ(context.display.checkUpdatesAfterHours, 5);
  EXPECT_TRUE(context.applicability.checkForBetaReleasesEnabled);
  EXPECT_TRUE(context.applicability.shouldApplyUserStaggering);
  EXPECT_EQ(context.applicability.userStaggerGroup, 3);
}

TEST_F(ApplicationCheckContextTest, NothingRememberedCountsForNothing) {
  const FeedCheckContext context = this->context();

  EXPECT_FALSE(context.display.storedFeedIdentifier || context.display.lastNewsDisplayedDate);
  EXPECT_FALSE(context.applicability.checkForBetaReleasesEnabled || context.applicability.shouldApplyUserStaggering);
}

TEST_F(ApplicationCheckContextTest, AnUpdateThatWasShownInTheFutureDelaysNothing) {
  memory_.setLastShown(now_ + hours(1000));

  EXPECT_EQ(context().display.lastNewsDisplayedDate, std::nullopt);
}

}  // namespace
}  // namespace quillon
