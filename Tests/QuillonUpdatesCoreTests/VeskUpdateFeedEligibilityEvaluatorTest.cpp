#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonCalendar.h"
#include "QuillonUpdatesCore/VeskUpdateFeedEligibilityEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"
#include "Support/ScopedTimeZone.h"

namespace quillon {
namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::microseconds;

constexpr QuillonDate utc(int y, unsigned m, unsigned d, int hour = 0) {
  return std::chrono::sys_days(std::chrono::year(y) / std::chrono::month(m) / std::chrono::day(d)) + hours(hour);
}

/// Version 2.1, build 119, English, on system 14.2; feeds are processed, nothing else is in force.
VeskUpdateFeedApplicabilityContext installation() {
  VeskUpdateFeedApplicabilityContext context;
  context.appVersion = "2.1";
  context.appBuild = 119;
  context.currentOSVersion = "14.2";
  context.preferredLanguageCode = "en";
  context.acceptedSKUs = {"direct", "setapp"};
  context.canProcessUpdateFeeds = true;
  context.now = utc(2024, 6, 15);
  return context;
}

FeedDictionary update(std::initializer_list<std::pair<const std::string_view, std::string_view>> values) {
  FeedDictionary entry = entryOf(values);
  entry.try_emplace("type", "update");
  entry.try_emplace("id", "an-id");
  return entry;
}

VeskUpdateFeedApplicabilityResult applicability(const FeedDictionary& entry,
                                                const VeskUpdateFeedApplicabilityContext& context = installation()) {
  const VeskUpdateFeed feed = feedOf({entry});
  return VeskUpdateFeedEligibilityEvaluator().evaluateApplicability(feed.at(0), context,
                                                                    &VeskUpdateVersionComparison::compare);
}

bool applies(const FeedDictionary& entry, const VeskUpdateFeedApplicabilityContext& context = installation()) {
  return applicability(entry, context).shouldProcessFeed;
}

/// The flags as letters: p for shouldProcessFeed, u for isUpdate, n for isNewBuild, b for isBetaUpdate.
std::string flagsOf(const VeskUpdateFeedApplicabilityResult& result) {
  return std::string(result.shouldProcessFeed ? "p" : "") + (result.isUpdate ? "u" : "") +
         (result.isNewBuild ? "n" : "") + (result.isBetaUpdate ? "b" : "");
}

TEST(VeskUpdateFeedApplicabilityTest, AnEntryOfAnotherTypeNeverApplies) {
  FeedDictionary withoutType = update({{"current", "3.0"}});
  withoutType.erase("type");

  EXPECT_EQ(flagsOf(applicability(withoutType)), "");
  for (const char* const type : {"news", "Update", "updates", ""}) {
    EXPECT_EQ(flagsOf(applicability(update({{"type", type}, {"current", "3.0b1"}}))), "") << type;
  }
}

TEST(VeskUpdateFeedApplicabilityTest, NothingAppliesWhileFeedsAreNotProcessed) {
  VeskUpdateFeedApplicabilityContext context = installation();
  context.canProcessUpdateFeeds = false;

  EXPECT_EQ(flagsOf(applicability(update({{"current", "3.0b1"}}), context)), "");
}

TEST(VeskUpdateFeedApplicabilityTest, ANewerVersionIsAnUpdate) {
  EXPECT_EQ(flagsOf(applicability(update({{"current", "2.1.1"}}))), "pu");
  EXPECT_EQ(flagsOf(applicability(update({{"current", "2.1"}}))), "");
  EXPECT_EQ(flagsOf(applicability(update({{"current", "2.0"}}))), "");
}

TEST(VeskUpdateFeedApplicabilityTest, AnEntryWithoutOfferedVersionCountsAsNewer) {
  EXPECT_EQ(flagsOf(applicability(update({}))), "pu");
  EXPECT_EQ(flagsOf(applicability(update({{"current", ""}}))), "pu");
}

TEST(VeskUpdateFeedApplicabilityTest, ANewerBuildOfTheSameVersionIsANewBuildAndAnUpdate) {
  EXPECT_EQ(flagsOf(applicability(update({{"current", "2.1"}, {"currentbuild", "120"}}))), "pun");
  EXPECT_EQ(flagsOf(applicability(update({{"current", "2.1"}, {"currentbuild", "+120"}}))), "pun");
}

TEST(VeskUpdateFeedApplicabilityTest, ABuildThatIsNotNewerDoesNotApply) {
  for (const char* const build : {"119", "118", "0", "-1", "-120"}) {
    EXPECT_EQ(flagsOf(applicability(update({{"current", "2.1"}, {"currentbuild", build}}))), "") << build;
  }
}

TEST(VeskUpdateFeedApplicabilityTest, ABuildThatIsNoNumberDoesNotApply) {
  for (const char* const build : {"12a", "", " 120", "120 ", "120.0", "0x80", "++120", "+", "9223372036854775808"}) {
    EXPECT_EQ(flagsOf(applicability(update({{"current", "2.1"}, {"currentbuild", build}}))), "") << build;
  }
}

TEST(VeskUpdateFeedApplicabilityTest, TheLargestBuildIsANumber) {
  EXPECT_EQ(flagsOf(applicability(update({{"current", "2.1"}, {"currentbuild", "9223372036854775807"}}))), "pun");
}

TEST(VeskUpdateFeedApplicabilityTest, WithoutABuildOfItsOwnAnInstallationHasNoNewerBuild) {
  for (const std::int64_t build : {std::int64_t{0}, std::int64_t{-1}}) {
    VeskUpdateFeedApplicabilityContext context = installation();
    context.appBuild = build;

    EXPECT_EQ(flagsOf(applicability(update({{"current", "2.1"}, {"currentbuild", "120"}}), context)), "") << build;
  }
}

TEST(VeskUpdateFeedApplicabilityTest, ANewBuildHasTheSameVersionCharacterForCharacter) {
  EXPECT_EQ(flagsOf(applicability(update({{"current", "2.1.0"}, {"currentbuild", "120"}}))), "");
}

TEST(VeskUpdateFeedApplicabilityTest, ANewerBuildOfABetaIsAnUpdateButNoNewBuild) {
  VeskUpdateFeedApplicabilityContext context = installation();
  context.appVersion = "2.1b3";
  context.checkForBetaReleasesEnabled = true;

  EXPECT_EQ(flagsOf(applicability(update({{"current", "2.1b3"}, {"currentbuild", "120"}}), context)), "pub");
}

TEST(VeskUpdateFeedApplicabilityTest, ABetaThatIsNotNewerIsNoBeta) {
  EXPECT_EQ(flagsOf(applicability(update({{"current", "2.1b3"}}))), "");
}

TEST(VeskUpdateFeedApplicabilityTest, AVersionWithALetterOfAnyScriptIsABeta) {
  for (const char* const version : {"3.0b1", "3.0 beta 2", "3.0\u03B2", "3.0 \u4E2D", "3.0 RC"}) {
    EXPECT_EQ(flagsOf(applicability(update({{"current", version}}))), "b") << version;
  }
  for (const char* const version : {"3.0", "3.0-1", "3.0+1", "\u0663.0"}) {
    EXPECT_EQ(flagsOf(applicability(update({{"current", version}}))), "pu") << version;
  }
}

TEST(VeskUpdateFeedApplicabilityTest, ABetaIsOfferedToWhoWantsBetasOrAsksByHand) {
  const FeedDictionary entry = update({{"current", "3.0b1"}});
  VeskUpdateFeedApplicabilityContext optedIn = installation();
  optedIn.checkForBetaReleasesEnabled = true;
  VeskUpdateFeedApplicabilityContext manual = installation();
  manual.isManualCheck = true;

  EXPECT_EQ(flagsOf(applicability(entry)), "b");
  EXPECT_EQ(flagsOf(applicability(entry, optedIn)), "pub");
  EXPECT_EQ(flagsOf(applicability(entry, manual)), "pub");
}

struct RangeCase {
  std::string range;
  std::string version;
  bool isInside;
};

void PrintTo(const RangeCase& rangeCase, std::ostream* out) {
  *out << rangeCase.range << " and " << rangeCase.version;
}

class VeskUpdateFeedRangeTest : public ::testing::TestWithParam<RangeCase> {};

TEST_P(VeskUpdateFeedRangeTest, LimitsTheInstalledVersion) {
  VeskUpdateFeedApplicabilityContext context = installation();
  context.appVersion = GetParam().version;

  EXPECT_EQ(applies(update({{"version", GetParam().range}}), context), GetParam().isInside);
}

TEST_P(VeskUpdateFeedRangeTest, LimitsTheOperatingSystem) {
  VeskUpdateFeedApplicabilityContext context = installation();
  context.currentOSVersion = GetParam().version;

  EXPECT_EQ(applies(update({{"os", GetParam().range}}), context), GetParam().isInside);
}

INSTANTIATE_TEST_SUITE_P(Ranges, VeskUpdateFeedRangeTest,
                         ::testing::Values(RangeCase{"2.0-3.0", "2.1", true}, RangeCase{"2.0-3.0", "2.0", true},
                                           RangeCase{"2.0-3.0", "3.0", true}, RangeCase{"2.0-3.0", "3.0.0", true},
                                           RangeCase{"2.0-3.0", "1.9", false}, RangeCase{"2.0-3.0", "3.0.1", false},
                                           RangeCase{"2.0-3.0", "2.0b1", false}, RangeCase{"2.0", "2.0", true},
                                           RangeCase{"2.0", "99", true}, RangeCase{"2.0", "1.9", false},
                                           RangeCase{"-5.0", "0.1", true}, RangeCase{"-5.0", "5.0", true},
                                           RangeCase{"-5.0", "5.1", false}, RangeCase{"4.0-", "4.0", false},
                                           RangeCase{"4.0-", "9", false}, RangeCase{"1.0-7-2.0", "1.5", true},
                                           RangeCase{"1.0-7-2.0", "3.0", false}, RangeCase{"1.0--2.0", "1.5", true},
                                           RangeCase{"-", "1.0", false}, RangeCase{"-", "", true}));

TEST(VeskUpdateFeedApplicabilityTest, AVersionOfAMillionCharactersIsARange) {
  std::string version;
  while (version.size() < 1'000'000) version += "1.";

  EXPECT_FALSE(applies(update({{"version", version + "-" + version}})));
}

TEST(VeskUpdateFeedApplicabilityTest, ADistributionIsOneThatTheBuildTakes) {
  EXPECT_TRUE(applies(update({{"sku", "setapp"}})));
  EXPECT_TRUE(applies(update({{"sku", ""}})));
  EXPECT_FALSE(applies(update({{"sku", "mas"}})));
  EXPECT_FALSE(applies(update({{"sku", "Setapp"}})));
}

TEST(VeskUpdateFeedApplicabilityTest, ALanguageIsTheUsersInEitherCase) {
  VeskUpdateFeedApplicabilityContext context = installation();
  context.preferredLanguageCode = "de-AT";

  EXPECT_TRUE(applies(update({{"lang", "DE-at"}}), context));
  EXPECT_TRUE(applies(update({{"lang", ""}}), context));
  EXPECT_FALSE(applies(update({{"lang", "de"}}), context));
}

TEST(VeskUpdateFeedApplicabilityTest, WithoutAPreferredLanguageNoLanguageFits) {
  VeskUpdateFeedApplicabilityContext context = installation();
  context.preferredLanguageCode = std::nullopt;

  EXPECT_FALSE(applies(update({{"lang", "en"}}), context));
  EXPECT_TRUE(applies(update({}), context));
}

TEST(VeskUpdateFeedApplicabilityTest, TheBypassSkipsRangesDistributionLanguageAndVersion) {
  const FeedDictionary entry =
      update({{"version", "9.0"}, {"sku", "mas"}, {"lang", "fr"}, {"os", "99"}, {"current", "1.0"}});
  VeskUpdateFeedApplicabilityContext context = installation();
  EXPECT_EQ(flagsOf(applicability(entry, context)), "");

  context.debugBypassApplicabilityChecks = true;

  EXPECT_EQ(flagsOf(applicability(entry, context)), "pu");
}

TEST(VeskUpdateFeedApplicabilityTest, TheBypassStillKnowsABetaAndHoldsBackByStaggering) {
  VeskUpdateFeedApplicabilityContext context = installation();
  context.debugBypassApplicabilityChecks = true;
  EXPECT_EQ(flagsOf(applicability(update({{"current", "1.0b1"}}), context)), "b");

  context.shouldApplyUserStaggering = true;
  context.userStaggerGroup = 3;

  EXPECT_EQ(flagsOf(applicability(update({{"releasedate", "2024-06-15"}, {"current", "3.0"}}), context)), "");
}

TEST(VeskUpdateFeedApplicabilityTest, ValuesThatAreNoStringsCountAsMissing) {
  FeedDictionary entry = update({{"current", "3.0"}});
  for (const char* const key : {"version", "sku", "lang", "os", "releasedate", "important", "mustupdate"}) {
    entry.insert_or_assign(key, QuillonPropertyListValue(99));
  }
  entry.insert_or_assign("id", QuillonPropertyListValue(7));

  const VeskUpdateFeedApplicabilityResult result = applicability(entry);

  EXPECT_EQ(flagsOf(result), "pu");
  EXPECT_EQ(result.releaseDate, kDistantPast);
  EXPECT_EQ(result.resolvedFeedIdentifier, std::nullopt);
}

TEST(VeskUpdateFeedApplicabilityTest, TheIdentifierIsTheIdElseTheVersionRange) {
  EXPECT_EQ(applicability(entryOf({{"id", "a"}, {"version", "1.0-2.0"}})).resolvedFeedIdentifier, "a");
  EXPECT_EQ(applicability(entryOf({{"id", ""}, {"version", "1.0-2.0"}})).resolvedFeedIdentifier, "1.0-2.0");
  EXPECT_EQ(applicability(entryOf({{"id", ""}, {"version", ""}})).resolvedFeedIdentifier, std::nullopt);
}

TEST(VeskUpdateFeedApplicabilityTest, ReleaseDateAndIdentifierAreThereWhateverTheOutcome) {
  const ScopedTimeZone zone("UTC");

  const auto result = applicability(entryOf({{"type", "news"}, {"id", "a"}, {"releasedate", "2024-02-29"}}));

  EXPECT_EQ(result.releaseDate, utc(2024, 2, 29));
  EXPECT_EQ(result.resolvedFeedIdentifier, "a");
}

TEST(VeskUpdateFeedApplicabilityTest, AReleaseDayThatDoesNotExistIsTheDistantPast) {
  for (const char* const day : {"2024-02-30", "2024-6-1", "tomorrow", ""}) {
    EXPECT_EQ(applicability(update({{"releasedate", day}})).releaseDate, kDistantPast) << day;
  }
}

class VeskUpdateFeedStaggeringTest : public ::testing::Test {
 protected:
  /// Whether the entry applies at `now` to a user of `group`, in the zone of the process.
  [[nodiscard]] bool appliesAt(QuillonDate now, std::int64_t group) const {
    VeskUpdateFeedApplicabilityContext context = installation();
    context.shouldApplyUserStaggering = true;
    context.userStaggerGroup = group;
    context.now = now;
    return applies(entry_, context);
  }

  FeedDictionary entry_ = update({{"current", "3.0"}, {"releasedate", "2024-06-10"}});
};

TEST_F(VeskUpdateFeedStaggeringTest, AGroupSeesTheEntryThatManyDaysLater) {
  const ScopedTimeZone zone("UTC");

  EXPECT_FALSE(appliesAt(utc(2024, 6, 13) - microseconds(1), 3));
  EXPECT_TRUE(appliesAt(utc(2024, 6, 13), 3));
}

TEST_F(VeskUpdateFeedStaggeringTest, GroupsBelowOneAreNotHeldBack) {
  EXPECT_TRUE(appliesAt(utc(2024, 1, 1), 0));
  EXPECT_TRUE(appliesAt(utc(2024, 1, 1), -5));
}

TEST_F(VeskUpdateFeedStaggeringTest, NobodyIsHeldBackWhileStaggeringIsOff) {
  VeskUpdateFeedApplicabilityContext context = installation();
  context.userStaggerGroup = 3;
  context.now = utc(2024, 6, 10);

  EXPECT_TRUE(applies(entry_, context));
}

TEST_F(VeskUpdateFeedStaggeringTest, AnImportantEntryIsNotHeldBack) {
  entry_.insert_or_assign("important", QuillonPropertyListValue("1"));

  EXPECT_TRUE(appliesAt(utc(2024, 6, 10), 3));
}

TEST_F(VeskUpdateFeedStaggeringTest, OnlyTheStringOneIsImportant) {
  for (const QuillonPropertyListValue& value :
       {QuillonPropertyListValue(true), QuillonPropertyListValue(1), QuillonPropertyListValue("true"),
        QuillonPropertyListValue("yes"), QuillonPropertyListValue("01")}) {
    entry_.insert_or_assign("important", value);

    EXPECT_FALSE(appliesAt(utc(2024, 6, 10), 3));
  }
}

TEST_F(VeskUpdateFeedStaggeringTest, AManualCheckIsNotHeldBack) {
  VeskUpdateFeedApplicabilityContext context = installation();
  context.shouldApplyUserStaggering = true;
  context.userStaggerGroup = 3;
  context.now = utc(2024, 6, 10);
  context.isManualCheck = true;

  EXPECT_TRUE(applies(entry_, context));
}

TEST_F(VeskUpdateFeedStaggeringTest, DaysAreThoseOfTheTimeZoneOverAChangeOfTheClock) {
  const ScopedTimeZone zone("Europe/Vienna");
  entry_.insert_or_assign("releasedate", QuillonPropertyListValue("2024-03-29"));

  EXPECT_FALSE(appliesAt(utc(2024, 3, 31, 22) - microseconds(1), 3));
  EXPECT_TRUE(appliesAt(utc(2024, 3, 31, 22), 3));
}

TEST_F(VeskUpdateFeedStaggeringTest, ADayThatStartsAtOneStartsThen) {
  const ScopedTimeZone zone("America/Asuncion");
  entry_.insert_or_assign("releasedate", QuillonPropertyListValue("2023-09-30"));

  EXPECT_FALSE(appliesAt(utc(2023, 10, 1, 4) - microseconds(1), 1));
  EXPECT_TRUE(appliesAt(utc(2023, 10, 1, 4), 1));
}

TEST_F(VeskUpdateFeedStaggeringTest, ADateThatCannotBeFormedHoldsNobodyBack) {
  EXPECT_TRUE(appliesAt(utc(2024, 6, 10), std::numeric_limits<std::int64_t>::max()));
  EXPECT_TRUE(appliesAt(utc(2024, 6, 10), 200'000'000));
  EXPECT_FALSE(appliesAt(utc(2024, 6, 10), 50'000'000)) << "a date of the year 138,000";
}

TEST_F(VeskUpdateFeedStaggeringTest, DaysCountFromYear1WithoutAReleaseDay) {
  entry_.erase("releasedate");

  EXPECT_TRUE(appliesAt(utc(2024, 6, 10), 365));
  EXPECT_FALSE(appliesAt(utc(2024, 6, 10), 1'000'000)) << "a date of the year 2738";
}

/// Has days that start as late as a day can, and adds days as much as three days too late: the most that its contract
/// allows.
class LatestCalendar final : public QuillonCalendar {
 public:
  [[nodiscard]] std::optional<QuillonDate> startOfDay(std::chrono::year_month_day day) const noexcept override {
    return std::chrono::sys_days(day) + days(1) - microseconds(1);
  }
  [[nodiscard]] std::optional<QuillonDate> addingDays(QuillonDate date, std::int64_t count) const noexcept override {
    return date + days(count) + days(3) - microseconds(1);
  }
};

TEST_F(VeskUpdateFeedStaggeringTest, TheCalendarDecidesHoweverLateItsDaysAre) {
  const auto calendar = std::make_shared<LatestCalendar>();
  const VeskUpdateFeedEligibilityEvaluator evaluator(calendar);
  const VeskUpdateFeed feed = feedOf({entry_});
  VeskUpdateFeedApplicabilityContext context = installation();
  context.shouldApplyUserStaggering = true;
  const auto appliesAt = [&](QuillonDate now) {
    context.now = now;
    return evaluator.evaluateApplicability(feed.at(0), context, &VeskUpdateVersionComparison::compare)
        .shouldProcessFeed;
  };

  for (std::int64_t group = 1; group <= 30; ++group) {
    context.userStaggerGroup = group;
    const QuillonDate threshold =
        calendar->addingDays(utc(2024, 6, 11) - microseconds(1), group).value_or(kDistantPast);

    EXPECT_FALSE(appliesAt(threshold - microseconds(1))) << group;
    EXPECT_TRUE(appliesAt(threshold)) << group;
    EXPECT_TRUE(appliesAt(threshold + days(7))) << group;
  }
}

/// An update that applies, with the identifier "an-id".
VeskUpdateFeedApplicabilityResult applicableUpdate() {
  VeskUpdateFeedApplicabilityResult result;
  result.shouldProcessFeed = true;
  result.isUpdate = true;
  result.resolvedFeedIdentifier = "an-id";
  return result;
}

/// An automatic check, 23 hours after an entry was shown, with a reminder delay of 24 hours.
VeskUpdateFeedDisplayContext automaticCheck() {
  VeskUpdateFeedDisplayContext context;
  context.appVersion = "2.1";
  context.canProcessUpdateFeeds = true;
  context.now = utc(2024, 6, 15, 23);
  context.lastNewsDisplayedDate = utc(2024, 6, 15);
  context.checkUpdatesAfterHours = 24;
  context.storedFeedIdentifier = "stored-id";
  return context;
}

VeskUpdateFeedDisplayResult display(const VeskUpdateFeedApplicabilityResult& applicability,
                                    const VeskUpdateFeedDisplayContext& context,
                                    const FeedDictionary& entry = update({})) {
  const VeskUpdateFeed feed = feedOf({entry});
  return VeskUpdateFeedEligibilityEvaluator().evaluateDisplay(feed.at(0), applicability, context,
                                                              &VeskUpdateVersionComparison::compare);
}

VeskUpdateFeedDisplayResult shownAs(bool eligible, bool shown, std::optional<std::string> stored) {
  return {.isEligibleForProcessing = eligible,
          .shouldDisplayNow = shown,
          .resolvedFeedIdentifier = "an-id",
          .effectiveStoredFeedIdentifier = std::move(stored)};
}

TEST(VeskUpdateFeedDisplayTest, WhatDoesNotApplyIsNotShownAndNothingIsReset) {
  VeskUpdateFeedDisplayContext context = automaticCheck();
  context.shouldResetStoredFeedIdentifier = true;
  context.isManualCheck = true;
  VeskUpdateFeedApplicabilityResult notProcessed = applicableUpdate();
  notProcessed.shouldProcessFeed = false;
  VeskUpdateFeedApplicabilityResult nothingNewer = applicableUpdate();
  nothingNewer.isUpdate = false;

  EXPECT_EQ(display(notProcessed, context), shownAs(false, false, "stored-id"));
  EXPECT_EQ(display(nothingNewer, context), shownAs(false, false, "stored-id"));
}

TEST(VeskUpdateFeedDisplayTest, AnEntryWithoutIdentifierIsNotShownAndNothingIsReset) {
  VeskUpdateFeedDisplayContext context = automaticCheck();
  context.shouldResetStoredFeedIdentifier = true;
  context.isManualCheck = true;
  VeskUpdateFeedApplicabilityResult unidentified = applicableUpdate();
  unidentified.resolvedFeedIdentifier = std::nullopt;

  const VeskUpdateFeedDisplayResult result = display(unidentified, context);

  VeskUpdateFeedDisplayResult expected;
  expected.effectiveStoredFeedIdentifier = "stored-id";
  EXPECT_EQ(result, expected);
}

TEST(VeskUpdateFeedDisplayTest, ANewBuildAloneIsAnOffer) {
  VeskUpdateFeedApplicabilityResult newBuild = applicableUpdate();
  newBuild.isUpdate = false;
  newBuild.isNewBuild = true;

  EXPECT_EQ(display(newBuild, automaticCheck()), shownAs(true, true, "stored-id"));
}

TEST(VeskUpdateFeedDisplayTest, WithoutFeedProcessingAnEntryIsShownOnce) {
  VeskUpdateFeedDisplayContext context = automaticCheck();
  context.canProcessUpdateFeeds = false;
  EXPECT_EQ(display(applicableUpdate(), context), shownAs(true, true, "stored-id"));

  context.storedFeedIdentifier = "an-id";
  EXPECT_EQ(display(applicableUpdate(), context), shownAs(true, false, "an-id"));

  context.storedFeedIdentifier = std::nullopt;
  EXPECT_EQ(display(applicableUpdate(), context), shownAs(true, true, std::nullopt));
}

TEST(VeskUpdateFeedDisplayTest, AResetForgetsTheStoredIdentifier) {
  VeskUpdateFeedDisplayContext context = automaticCheck();
  context.canProcessUpdateFeeds = false;
  context.storedFeedIdentifier = "an-id";
  context.shouldResetStoredFeedIdentifier = true;

  EXPECT_EQ(display(applicableUpdate(), context), shownAs(true, true, std::nullopt));
}

TEST(VeskUpdateFeedDisplayTest, WithinTheReminderDelayAnEntryIsNeitherProcessedNorShown) {
  VeskUpdateFeedDisplayContext context = automaticCheck();
  EXPECT_EQ(display(applicableUpdate(), context), shownAs(false, false, "stored-id"));

  context.shouldResetStoredFeedIdentifier = true;
  EXPECT_EQ(display(applicableUpdate(), context), shownAs(false, false, std::nullopt));
}

TEST(VeskUpdateFeedDisplayTest, TheReminderDelayEndsToTheMicrosecond) {
  VeskUpdateFeedDisplayContext context = automaticCheck();

  context.now = utc(2024, 6, 16) - microseconds(1);
  EXPECT_FALSE(display(applicableUpdate(), context).isEligibleForProcessing);

  context.now = utc(2024, 6, 16);
  EXPECT_EQ(display(applicableUpdate(), context), shownAs(true, true, "stored-id"));
}

TEST(VeskUpdateFeedDisplayTest, ADelayBelowZeroIsNone) {
  VeskUpdateFeedDisplayContext context = automaticCheck();
  context.checkUpdatesAfterHours = std::numeric_limits<std::int64_t>::min();
  context.now = *context.lastNewsDisplayedDate;
  EXPECT_TRUE(display(applicableUpdate(), context).shouldDisplayNow);

  context.now -= microseconds(1);
  EXPECT_FALSE(display(applicableUpdate(), context).shouldDisplayNow) << "the clock was put back";
}

TEST(VeskUpdateFeedDisplayTest, TheFirstEntryAndAManualCheckDoNotWait) {
  VeskUpdateFeedDisplayContext first = automaticCheck();
  first.lastNewsDisplayedDate = std::nullopt;
  VeskUpdateFeedDisplayContext manual = automaticCheck();
  manual.isManualCheck = true;

  EXPECT_EQ(display(applicableUpdate(), first), shownAs(true, true, "stored-id"));
  EXPECT_EQ(display(applicableUpdate(), manual), shownAs(true, true, "stored-id"));
}

TEST(VeskUpdateFeedDisplayTest, AVersionThatMustUpdateDoesNotWait) {
  const VeskUpdateFeedDisplayContext context = automaticCheck();

  EXPECT_TRUE(display(applicableUpdate(), context, update({{"mustupdate", "2.1"}})).shouldDisplayNow);
  EXPECT_TRUE(display(applicableUpdate(), context, update({{"mustupdate", "2.1.0"}})).shouldDisplayNow);
  EXPECT_FALSE(display(applicableUpdate(), context, update({{"mustupdate", "2.2"}})).shouldDisplayNow);
  EXPECT_FALSE(display(applicableUpdate(), context, update({{"mustupdate", ""}})).shouldDisplayNow);
}

TEST(VeskUpdateFeedDisplayTest, WithoutAVersionOfItsOwnAnEmptyMustUpdateIsNone) {
  VeskUpdateFeedDisplayContext context = automaticCheck();
  context.appVersion.clear();

  EXPECT_FALSE(display(applicableUpdate(), context, update({{"mustupdate", ""}})).shouldDisplayNow);
}

TEST(VeskUpdateFeedDisplayTest, TheLongestDelayNeverEnds) {
  constexpr std::int64_t kMostHours = std::numeric_limits<std::int64_t>::max() / 3600;
  for (const QuillonDate last : {QuillonDate::min(), kDistantPast, utc(2024, 6, 15), QuillonDate::max()}) {
    VeskUpdateFeedDisplayContext context = automaticCheck();
    context.lastNewsDisplayedDate = last;
    context.checkUpdatesAfterHours = kMostHours;
    EXPECT_FALSE(display(applicableUpdate(), context).shouldDisplayNow);
  }
}

TEST(VeskUpdateFeedDisplayTest, DelaysAreAddedToTheFirstAndTheLastDate) {
  VeskUpdateFeedDisplayContext context = automaticCheck();

  context.lastNewsDisplayedDate = QuillonDate::min();
  context.now = QuillonDate::min() + hours(24);
  EXPECT_TRUE(display(applicableUpdate(), context).shouldDisplayNow);
  context.now -= microseconds(1);
  EXPECT_FALSE(display(applicableUpdate(), context).shouldDisplayNow);

  context.lastNewsDisplayedDate = QuillonDate::max() - hours(1);
  context.now = QuillonDate::max() - microseconds(1);
  EXPECT_FALSE(display(applicableUpdate(), context).shouldDisplayNow);
}

TEST(VeskUpdateFeedDisplayDeathTest, HoursOfMoreSecondsThan64BitsHoldEndTheProcess) {
  VeskUpdateFeedDisplayContext context = automaticCheck();
  context.checkUpdatesAfterHours = std::numeric_limits<std::int64_t>::max() / 3600 + 1;

  EXPECT_DEATH((void)display(applicableUpdate(), context), "checkUpdatesAfterHours is too large");
}

TEST(VeskUpdateFeedDisplayTest, HoursThatDoNotCountMayBeAnyNumber) {
  VeskUpdateFeedDisplayContext context = automaticCheck();
  context.checkUpdatesAfterHours = std::numeric_limits<std::int64_t>::max();
  context.isManualCheck = true;

  EXPECT_TRUE(display(applicableUpdate(), context).shouldDisplayNow);
}

}  // namespace
}  // namespace quillon
