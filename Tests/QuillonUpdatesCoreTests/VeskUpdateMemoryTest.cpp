#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParser.h"
#include "QuillonUpdatesCore/VeskUpdateMemory.h"
#include "Support/FakeKeyValueStore.h"
#include "Support/RecordingLogger.h"

namespace quillon {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using ::testing::ElementsAre;
using Dictionary = QuillonPropertyListValue::Dictionary;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr QuillonDate kNow = std::chrono::sys_days{std::chrono::year{2026} / 6 / 11};

/// Settings on a disk that may be full.
class Store final : public QuillonKeyValueStoring {
 public:
  [[nodiscard]] bool boolForKey(std::string_view key) const override { return settings_.boolForKey(key); }
  [[nodiscard]] std::optional<std::string> stringForKey(std::string_view key) const override {
    return settings_.stringForKey(key);
  }
  [[nodiscard]] std::int64_t integerForKey(std::string_view key) const override { return settings_.integerForKey(key); }
  [[nodiscard]] double doubleForKey(std::string_view key) const override { return settings_.doubleForKey(key); }
  [[nodiscard]] std::optional<QuillonPropertyListValue> objectForKey(std::string_view key) const override {
    return settings_.objectForKey(key);
  }
  void set(const std::optional<QuillonPropertyListValue>& value, std::string_view key) override {
    if (isFull) throw QuillonError("disk full");
    settings_.set(value, key);
  }
  void removeObject(std::string_view key) override { set(std::nullopt, key); }

  bool isFull = false;

 private:
  testing::FakeKeyValueStore settings_;
};

/// What a check has come to that has shown "2.0" and found that interval in the feed.
VeskUpdateFeedPipelineApplicationResult shown(std::optional<double> interval = std::nullopt) {
  VeskUpdateFeedPipelineApplicationResult result;
  result.updatedNewsDictionary = Dictionary{{"update", QuillonPropertyListValue("2.0")}};
  result.resolvedSleepInterval = interval;
  return result;
}

class VeskUpdateMemoryTest : public ::testing::Test {
 protected:
  void store(std::string_view key, QuillonPropertyListValue value) const { settings_->set(std::move(value), key); }
  /// The same in another run.
  [[nodiscard]] VeskUpdateMemory again() const { return {settings_, logger_}; }

  const std::shared_ptr<Store> settings_ = std::make_shared<Store>();
  const std::shared_ptr<testing::RecordingLogger> logger_ = std::make_shared<testing::RecordingLogger>();
  VeskUpdateMemory memory_{settings_, logger_};
};

TEST_F(VeskUpdateMemoryTest, NothingIsRememberedAtFirst) {
  EXPECT_TRUE(memory_.shownIdentifiers().empty());
  EXPECT_FALSE(memory_.lastShown(kNow) || memory_.lastCheck() || memory_.nextCheck(kNow));
  EXPECT_EQ(memory_.reminderHours(), 24);
  EXPECT_FALSE(memory_.checksForBetas() || memory_.staggerGroup());
  EXPECT_FALSE(memory_.skippedIdentifier() || memory_.refusedIdentifier() || memory_.attempt());
}

TEST_F(VeskUpdateMemoryTest, WhatIsStoredIsRemembered) {
  const VeskUpdateAttempt attempt{.identifier = "A", .fromVersion = "1.0", .fromBuild = 7, .toVersion = "2.0"};

  memory_.rememberCheck(shown(7200), kNow);
  memory_.setChecksForBetas(true);
  memory_.setSkippedIdentifier("2.0");
  memory_.setRefusedIdentifier("3.0");
  EXPECT_TRUE(memory_.setAttempt(attempt));

  const VeskUpdateMemory next = again();
  EXPECT_EQ(next.shownIdentifiers(), shown().updatedNewsDictionary);
  EXPECT_EQ(next.lastShown(kNow), kNow);
  EXPECT_EQ(next.lastCheck(), kNow);
  EXPECT_EQ(next.nextCheck(kNow), kNow + hours(2));
  EXPECT_TRUE(next.checksForBetas());
  EXPECT_EQ(next.skippedIdentifier(), "2.0");
  EXPECT_EQ(next.refusedIdentifier(), "3.0");
  EXPECT_EQ(next.attempt(), attempt);
}

TEST_F(VeskUpdateMemoryTest, WhatIsForgottenIsGone) {
  memory_.setSkippedIdentifier("2.0");
  memory_.setAttempt(VeskUpdateAttempt{.identifier = "A", .fromVersion = {}, .fromBuild = 0, .toVersion = {}});

  memory_.setSkippedIdentifier(std::nullopt);
  EXPECT_TRUE(memory_.setAttempt(std::nullopt));

  EXPECT_FALSE(memory_.skippedIdentifier() || memory_.attempt());
  EXPECT_FALSE(settings_->objectForKey(VeskUpdateMemory::attemptKey));
}

TEST_F(VeskUpdateMemoryTest, WhatWasShownStaysWhenACheckShowsNothing) {
  memory_.rememberCheck(shown(), kNow);

  memory_.rememberCheck({}, kNow + hours(24));

  EXPECT_EQ(memory_.shownIdentifiers(), shown().updatedNewsDictionary);
  EXPECT_EQ(memory_.lastShown(kNow + hours(24)), kNow);
  EXPECT_EQ(memory_.lastCheck(), kNow + hours(24));
}

TEST_F(VeskUpdateMemoryTest, TheNextCheckIsDueAfterTheIntervalOfTheFeed) {
  memory_.rememberCheck(shown(7200), kNow);

  EXPECT_EQ(memory_.nextCheck(kNow + hours(1)), kNow + hours(2));
  EXPECT_EQ(memory_.nextCheck(kNow + hours(2)), std::nullopt);
}

TEST_F(VeskUpdateMemoryTest, TheNextCheckIsDueAfterADayWhenTheFeedSaysNothing) {
  memory_.rememberCheck({}, kNow);

  EXPECT_EQ(memory_.nextCheck(kNow + hours(23)), kNow + hours(24));
}

TEST_F(VeskUpdateMemoryTest, ClocksThatAreSetBackDelayNothing) {
  memory_.rememberCheck(shown(), kNow + hours(1));

  EXPECT_EQ(memory_.nextCheck(kNow), std::nullopt);
  EXPECT_EQ(memory_.lastShown(kNow), std::nullopt);
}

TEST_F(VeskUpdateMemoryTest, IntervalsAreAnHourAtLeastAndAYearAtMost) {
  struct Case {
    double seconds;
    hours expected;
  };
  for (const auto& [seconds, expected] :
       {Case{-1e300, hours(1)}, Case{0, hours(1)}, Case{3599, hours(1)}, Case{3601 * 24, hours(24)},
        Case{1e13, hours(366 * 24)}, Case{kInfinity, hours(366 * 24)}, Case{std::nan(""), hours(24)}}) {
    memory_.rememberCheck(shown(seconds), kNow);
    EXPECT_EQ(std::chrono::floor<hours>(*memory_.nextCheck(kNow) - kNow), expected) << seconds;
  }
}

TEST_F(VeskUpdateMemoryTest, RemindersAreAYearApartAtMost) {
  store(VeskUpdateMemory::reminderHoursKey, QuillonPropertyListValue(std::numeric_limits<std::int64_t>::max()));
  EXPECT_EQ(memory_.reminderHours(), 366 * 24);
  store(VeskUpdateMemory::reminderHoursKey, QuillonPropertyListValue(-5));
  EXPECT_EQ(memory_.reminderHours(), 0);
}

TEST_F(VeskUpdateMemoryTest, ValuesOfOtherTypesCountAsAbsent) {
  memory_.rememberCheck({}, kNow);
  for (const std::string_view key :
       {VeskUpdateMemory::shownIdentifiersKey, VeskUpdateMemory::lastShownKey, VeskUpdateMemory::attemptKey,
        VeskUpdateMemory::refetchIntervalKey, VeskUpdateMemory::reminderHoursKey, VeskUpdateMemory::staggerGroupKey,
        VeskUpdateMemory::betaPreferenceKey}) {
    store(key, QuillonPropertyListValue("1"));
  }
  store(VeskUpdateMemory::skippedIdentifierKey, QuillonPropertyListValue(2));
  store(VeskUpdateMemory::refusedIdentifierKey, QuillonPropertyListValue(2));

  EXPECT_TRUE(memory_.shownIdentifiers().empty());
  EXPECT_FALSE(memory_.lastShown(kNow) || memory_.attempt() || memory_.staggerGroup() || memory_.checksForBetas());
  EXPECT_FALSE(memory_.skippedIdentifier() || memory_.refusedIdentifier());
  EXPECT_EQ(memory_.nextCheck(kNow), kNow + hours(24));
  EXPECT_EQ(memory_.reminderHours(), 24);

  store(VeskUpdateMemory::lastCheckKey, QuillonPropertyListValue("2026-06-11"));
  EXPECT_EQ(memory_.lastCheck(), std::nullopt);
}

TEST_F(VeskUpdateMemoryTest, AnIntegerStandsForAReal) {
  memory_.rememberCheck({}, kNow);
  store(VeskUpdateMemory::refetchIntervalKey, QuillonPropertyListValue(7200));

  EXPECT_EQ(memory_.nextCheck(kNow), kNow + hours(2));
}

TEST_F(VeskUpdateMemoryTest, TheStaggerGroupIsDrawnOnceAndOnlyWhenAsked) {
  EXPECT_EQ(memory_.staggerGroup(), std::nullopt);

  const std::int64_t group = memory_.drawnStaggerGroup();

  EXPECT_GE(group, 0);
  EXPECT_LT(group, VeskUpdateMemory::staggerGroupCount);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(again().drawnStaggerGroup(), group);
  EXPECT_EQ(memory_.staggerGroup(), group);
}

// What somebody has said no to

class DeclinedUpdateTest : public VeskUpdateMemoryTest {
 protected:
  /// Whether version 1.0 is not to be offered the entry "sample-2.0" that has `more`.
  [[nodiscard]] bool isDeclined(const std::string& more = {}) const {
    const VeskUpdateFeed feed =
        VeskUpdateFeedParser().parseFeed("<plist version=\"1.0\"><array><dict><key>type</key><string>update</string>" +
                                         more + "</dict></array></plist>");
    VeskUpdateFeedProcessingCandidate candidate{.feed = *feed.begin(), .applicability = {}, .display = {}};
    candidate.display.resolvedFeedIdentifier = "sample-2.0";
    return memory_.isDeclined(candidate, "1.0");
  }
};

TEST_F(DeclinedUpdateTest, OnlyTheEntryItselfIsDeclined) {
  EXPECT_FALSE(isDeclined());
  memory_.setSkippedIdentifier("sample-1.9");
  memory_.setRefusedIdentifier("sample-1.9");
  EXPECT_FALSE(isDeclined());
}

TEST_F(DeclinedUpdateTest, ASkippedEntryIsDeclinedUnlessTheInstalledVersionMustTakeIt) {
  memory_.setSkippedIdentifier("sample-2.0");

  EXPECT_TRUE(isDeclined());
  EXPECT_TRUE(isDeclined("<key>mustupdate</key><string>0.9</string>"));
  EXPECT_FALSE(isDeclined("<key>mustupdate</key><string>1.0</string>"));
}

TEST_F(DeclinedUpdateTest, AnEntryThatNoAdministratorAllowedIsDeclinedInAnyCase) {
  memory_.setRefusedIdentifier("sample-2.0");

  EXPECT_TRUE(isDeclined());
  EXPECT_TRUE(isDeclined("<key>mustupdate</key><string>1.0</string>"));
}

// A disk that is full

TEST_F(VeskUpdateMemoryTest, WhatCannotBeStoredIsLogged) {
  settings_->isFull = true;

  EXPECT_FALSE(memory_.setAttempt(VeskUpdateAttempt()));

  EXPECT_THAT(logger_->entries(), ElementsAre(std::tuple("cannot store QuillonUpdateLastAttempt: disk full",
                                                         QuillonLogLevel::warn, "settings")));
}

TEST_F(VeskUpdateMemoryTest, WhatCannotBeStoredIsRememberedAsLongAsTheHostRuns) {
  settings_->isFull = true;

  memory_.rememberCheck(shown(), kNow);
  memory_.setSkippedIdentifier("2.0");
  const std::int64_t group = memory_.drawnStaggerGroup();

  EXPECT_EQ(memory_.nextCheck(kNow + minutes(1)), kNow + hours(24));
  EXPECT_EQ(memory_.lastShown(kNow), kNow);
  EXPECT_EQ(memory_.skippedIdentifier(), "2.0");
  EXPECT_EQ(memory_.staggerGroup(), group);
  EXPECT_EQ(again().lastCheck(), std::nullopt);
}

TEST_F(VeskUpdateMemoryTest, WhatCannotBeRemovedIsGoneAsLongAsTheHostRuns) {
  memory_.setSkippedIdentifier("2.0");
  settings_->isFull = true;

  memory_.setSkippedIdentifier(std::nullopt);

  EXPECT_EQ(memory_.skippedIdentifier(), std::nullopt);
}

TEST_F(VeskUpdateMemoryTest, TheSettingsCountAgainOnceThereIsRoom) {
  settings_->isFull = true;
  memory_.setSkippedIdentifier("2.0");
  settings_->isFull = false;

  memory_.setSkippedIdentifier("2.1");
  EXPECT_EQ(again().skippedIdentifier(), "2.1");
  again().setSkippedIdentifier("2.2");

  EXPECT_EQ(memory_.skippedIdentifier(), "2.2");
}

}  // namespace
}  // namespace quillon
