#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <limits>
#include <memory>

#include "QuillonCore/Values/QuillonError.h"
#include "SampleHost/Sources/UpdateMemory.h"
#include "Support/FakeKeyValueStore.h"

namespace sample {
namespace {

using quillon::QuillonDate;
using quillon::QuillonPropertyListValue;
using std::chrono::hours;
using std::chrono::seconds;

constexpr QuillonDate kNow = std::chrono::sys_days{std::chrono::year{2026} / std::chrono::May / std::chrono::day{4}};

class UpdateMemoryTest : public ::testing::Test {
 protected:
  /// What a check at `kNow` has left, whatever the feed's limits are.
  void storeInterval(double interval) {
    memory_.rememberCheck({}, kNow);
    settings_->set(QuillonPropertyListValue(interval), "QuillonUpdateRefetchInterval");
  }

  std::shared_ptr<quillon::testing::FakeKeyValueStore> settings_ =
      std::make_shared<quillon::testing::FakeKeyValueStore>();
  UpdateMemory memory_{settings_};
};

TEST_F(UpdateMemoryTest, TheFirstCheckIsDueAtOnce) {
  EXPECT_EQ(memory_.nextCheck(kNow), kNow);
}

TEST_F(UpdateMemoryTest, TheNextCheckIsDueAfterADayWhenTheFeedSaysNothing) {
  memory_.rememberCheck({}, kNow);

  EXPECT_EQ(memory_.nextCheck(kNow + hours(1)), kNow + hours(24));
}

TEST_F(UpdateMemoryTest, TheNextCheckIsDueWhenTheFeedSays) {
  quillon::VeskUpdateFeedPipelineApplicationResult result;
  result.resolvedSleepInterval = 7200;

  memory_.rememberCheck(result, kNow);

  EXPECT_EQ(memory_.nextCheck(kNow + seconds(1)), kNow + hours(2));
}

TEST_F(UpdateMemoryTest, ACheckIsDueAfterTheClockWasSetBack) {
  memory_.rememberCheck({}, kNow);

  EXPECT_EQ(memory_.nextCheck(kNow - hours(1)), kNow - hours(1));
}

TEST_F(UpdateMemoryTest, AnIntervalThatNoDateCanHoldIsAYear) {
  for (const double interval : {1e13, 1e300, std::numeric_limits<double>::infinity()}) {
    storeInterval(interval);
    EXPECT_EQ(memory_.nextCheck(kNow), kNow + hours(366 * 24)) << interval;
  }
}

TEST_F(UpdateMemoryTest, AnIntervalBelowZeroIsOver) {
  for (const double interval : {-1.0, -1e300, -std::numeric_limits<double>::infinity()}) {
    storeInterval(interval);
    EXPECT_EQ(memory_.nextCheck(kNow), kNow) << interval;
  }
}

TEST_F(UpdateMemoryTest, AnIntervalThatIsNoNumberIsADay) {
  storeInterval(std::numeric_limits<double>::quiet_NaN());

  EXPECT_EQ(memory_.nextCheck(kNow), kNow + hours(24));
}

TEST_F(UpdateMemoryTest, WhatWasShownStaysWhenACheckShowsNothing) {
  quillon::VeskUpdateFeedPipelineApplicationResult shown;
  shown.updatedNewsDictionary = {{"update", QuillonPropertyListValue("sample-2.0")}};
  memory_.rememberCheck(shown, kNow);

  memory_.rememberCheck({}, kNow + hours(24));

  EXPECT_EQ(memory_.shownEntries(), *shown.updatedNewsDictionary);
}

TEST_F(UpdateMemoryTest, ThePreferencesOfTheUserAreKept) {
  EXPECT_FALSE(memory_.checksForBetas());
  EXPECT_EQ(memory_.skippedEntry(), std::nullopt);
  EXPECT_EQ(memory_.lastOffer(), std::nullopt);

  memory_.setChecksForBetas(true);
  memory_.setSkippedEntry("sample-2.0");
  memory_.setLastOffer(kNow);

  EXPECT_TRUE(memory_.checksForBetas());
  EXPECT_EQ(memory_.skippedEntry(), "sample-2.0");
  EXPECT_EQ(memory_.lastOffer(), kNow);

  memory_.setSkippedEntry(std::nullopt);

  EXPECT_EQ(memory_.skippedEntry(), std::nullopt);
}

TEST_F(UpdateMemoryTest, ARefusedEntryIsKeptWhereTheCommandKeepsIt) {
  memory_.setRefusedEntry("sample-2.0");

  EXPECT_EQ(settings_->stringForKey("QuillonUpdateRefusedIdentifier"), "sample-2.0");
  EXPECT_EQ(memory_.refusedEntry(), "sample-2.0");
  EXPECT_EQ(memory_.skippedEntry(), std::nullopt);

  memory_.setRefusedEntry(std::nullopt);

  EXPECT_EQ(memory_.refusedEntry(), std::nullopt);
}

TEST_F(UpdateMemoryTest, TheGroupOfARollOutIsDrawnOnce) {
  const std::int64_t group = memory_.staggerGroup();

  EXPECT_GE(group, 0);
  EXPECT_LT(group, 7);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(UpdateMemory(settings_).staggerGroup(), group);
}

TEST_F(UpdateMemoryTest, AnAttemptIsHandedOutOnce) {
  memory_.setAttempt(UpdateAttempt{.identifier = "A-1", .fromVersion = "1.0", .fromBuild = 1, .toVersion = "2.0"});

  const auto attempt = memory_.takeAttempt();

  ASSERT_TRUE(attempt);
  EXPECT_EQ(attempt->identifier, "A-1");
  EXPECT_EQ(attempt->fromVersion, "1.0");
  EXPECT_EQ(attempt->fromBuild, 1);
  EXPECT_EQ(attempt->toVersion, "2.0");
  EXPECT_FALSE(memory_.takeAttempt());
}

TEST_F(UpdateMemoryTest, AnAttemptCanBeForgotten) {
  memory_.setAttempt(UpdateAttempt{.identifier = "A-1", .fromVersion = "1.0", .fromBuild = 1, .toVersion = "2.0"});

  memory_.setAttempt(std::nullopt);

  EXPECT_FALSE(memory_.takeAttempt());
}

/// A disk that is full.
class FullStore final : public quillon::QuillonKeyValueStoring {
 public:
  [[nodiscard]] bool boolForKey(std::string_view /*key*/) const override { return false; }
  [[nodiscard]] std::optional<std::string> stringForKey(std::string_view /*key*/) const override { return {}; }
  [[nodiscard]] std::int64_t integerForKey(std::string_view /*key*/) const override { return 0; }
  [[nodiscard]] double doubleForKey(std::string_view /*key*/) const override { return 0; }
  [[nodiscard]] std::optional<QuillonPropertyListValue> objectForKey(std::string_view /*key*/) const override {
    return {};
  }
  void set(const std::optional<QuillonPropertyListValue>& /*value*/, std::string_view key) override {
    throw quillon::QuillonSystemError::posix(ENOSPC, "store", key);
  }
  void removeObject(std::string_view key) override { set({}, key); }
};

TEST(UpdateMemoryWithoutRoomTest, WhatCannotBeStoredIsDropped) {
  UpdateMemory memory(std::make_shared<FullStore>());

  EXPECT_NO_THROW(memory.rememberCheck({}, kNow));
  EXPECT_NO_THROW(memory.setLastOffer(kNow));
  EXPECT_NO_THROW(static_cast<void>(memory.staggerGroup()));

  EXPECT_EQ(memory.nextCheck(kNow), kNow);
}

}  // namespace
}  // namespace sample
