#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "QuillonTool/FeedExplain/FeedCheckContext.h"
#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {
namespace {

using std::chrono::hours;

constexpr QuillonDate kClock = std::chrono::sys_days(std::chrono::year(2024) / 6 / 10);

FeedCheckContext read(std::vector<std::string> words) {
  const std::vector<std::string> host = {"--app-version", "2.5", "--app-build", "100", "--os", "14.2"};
  words.insert(words.begin(), host.begin(), host.end());
  const auto options = feedCheckOptions();
  return readFeedCheckContext(QuillonToolArguments::parse(words, options), kClock);
}

TEST(FeedCheckContextTest, TheLeastIsAnAutomaticCheckOfTheMoment) {
  const FeedCheckContext context = read({});

  VeskUpdateFeedApplicabilityContext expected;
  expected.appVersion = "2.5";
  expected.appBuild = 100;
  expected.currentOSVersion = "14.2";
  expected.canProcessUpdateFeeds = true;
  expected.now = kClock;
  EXPECT_EQ(context.applicability, expected);
  VeskUpdateFeedDisplayContext display;
  display.appVersion = "2.5";
  display.canProcessUpdateFeeds = true;
  display.now = kClock;
  EXPECT_EQ(context.display, display);
}

TEST(FeedCheckContextTest, EveryOptionHasItsField) {
  const FeedCheckContext context = read({"--language",
                                         "de",
                                         "--sku",
                                         "mas",
                                         "--sku",
                                         "setapp",
                                         "--beta",
                                         "--manual",
                                         "--stagger-group",
                                         "3",
                                         "--now",
                                         "2024-06-10T12:00:00Z",
                                         "--last-shown",
                                         "2024-06-10T10:00:00Z",
                                         "--reminder-hours",
                                         "24",
                                         "--stored-id",
                                         "3.0",
                                         "--reset-stored-id",
                                         "--no-processing",
                                         "--bypass"});

  VeskUpdateFeedApplicabilityContext expected;
  expected.appVersion = "2.5";
  expected.appBuild = 100;
  expected.currentOSVersion = "14.2";
  expected.preferredLanguageCode = "de";
  expected.acceptedSKUs = {"mas", "setapp"};
  expected.isManualCheck = true;
  expected.checkForBetaReleasesEnabled = true;
  expected.shouldApplyUserStaggering = true;
  expected.userStaggerGroup = 3;
  expected.now = kClock + hours(12);
  expected.debugBypassApplicabilityChecks = true;
  EXPECT_EQ(context.applicability, expected);
  VeskUpdateFeedDisplayContext display;
  display.appVersion = "2.5";
  display.now = kClock + hours(12);
  display.lastNewsDisplayedDate = kClock + hours(10);
  display.checkUpdatesAfterHours = 24;
  display.isManualCheck = true;
  display.storedFeedIdentifier = "3.0";
  display.shouldResetStoredFeedIdentifier = true;
  EXPECT_EQ(context.display, display);
}

TEST(FeedCheckContextTest, WrongValuesAreUsageErrors) {
  EXPECT_THROW(read({"--stagger-group", "x"}), QuillonToolUsageError);
  EXPECT_THROW(read({"--now", "yesterday"}), QuillonToolUsageError);
  EXPECT_THROW(read({"--last-shown", "2024-02-30"}), QuillonToolUsageError);
  EXPECT_THROW(read({"--reminder-hours", "1.5"}), QuillonToolUsageError);
}

TEST(FeedCheckContextTest, HoursThatAHostCannotCountAreRefused) {
  EXPECT_EQ(read({"--reminder-hours", "2562047788015215"}).display.checkUpdatesAfterHours, 2562047788015215);
  EXPECT_THROW(read({"--reminder-hours", "2562047788015216"}), QuillonToolUsageError);
}

TEST(FeedCheckContextTest, TheInstallationMustBeDescribed) {
  const auto options = feedCheckOptions();
  const std::vector<std::string> words = {"--app-version", "1", "--os", "1"};

  EXPECT_THROW((void)readFeedCheckContext(QuillonToolArguments::parse(words, options), kClock), QuillonToolUsageError);
}

}  // namespace
}  // namespace quillon
