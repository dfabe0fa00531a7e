#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <memory>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/Update/UpdateMemory.h"
#include "Support/FakeKeyValueStore.h"
#include "Support/RecordingLogger.h"

namespace quillon {
namespace {

using std::chrono::hours;

class UpdateMemoryTest : public ::testing::Test {
 protected:
  void store(const char* key, QuillonPropertyListValue value) const { settings_->set(std::move(value), key); }

  const QuillonDate now_ = std::chrono::sys_days{std::chrono::year{2026} / 6 / 11};
  const std::shared_ptr<testing::FakeKeyValueStore> settings_ = std::make_shared<testing::FakeKeyValueStore>();
  const std::shared_ptr<testing::RecordingLogger> logger_ = std::make_shared<testing::RecordingLogger>();
  UpdateMemory memory_{settings_, logger_};
};

TEST_F(UpdateMemoryTest, NothingIsRememberedAtFirst) {
  EXPECT_TRUE(memory_.shownIdentifiers().empty());
  EXPECT_FALSE(memory_.lastShown() || memory_.lastCheck() || memory_.nextCheck(now_));
  EXPECT_EQ(memory_.refetchInterval(), 86400);
  EXPECT_EQ(memory_.reminderHours(), 24);
  EXPECT_FALSE(memory_.checksForBetas() || memory_.staggerGroup());
  EXPECT_FALSE(memory_.skippedIdentifier() || memory_.refusedIdentifier() || memory_.attempt());
}

TEST_F(UpdateMemoryTest, WhatIsStoredIsRemembered) {
  const QuillonPropertyListValue::Dictionary shown{{"update", QuillonPropertyListValue("2.0")}};
  const UpdateAttempt attempt{.identifier = "A", .fromVersion = "1.0", .fromBuild = 7, .toVersion = "2.0"};

  EXPECT_TRUE(memory_.setShownIdentifiers(shown) && memory_.setLastShown(now_) && memory_.setLastCheck(now_) &&
              memory_.setRefetchInterval(7200) && memory_.setChecksForBetas(true) &&
              memory_.setSkippedIdentifier("2.0") && memory_.setRefusedIdentifier("3.0") &&
              memory_.setAttempt(attempt));

  const UpdateMemory next(settings_, logger_);
  EXPECT_EQ(next.shownIdentifiers(), shown);
  EXPECT_EQ(next.lastShown(), now_);
  EXPECT_EQ(next.lastCheck(), now_);
  EXPECT_EQ(next.refetchInterval(), 7200);
  EXPECT_TRUE(next.checksForBetas());
  EXPECT_EQ(next.skippedIdentifier(), "2.0");
  EXPECT_EQ(next.refusedIdentifier(), "3.0");
  EXPECT_EQ(next.attempt(), attempt);
}

TEST_F(UpdateMemoryTest, WhatIsForgottenIsGone) {
  memory_.setSkippedIdentifier("2.0");
  memory_.setAttempt(UpdateAttempt{.identifier = "A", .fromVersion = {}, .fromBuild = 0, .toVersion = {}});

  memory_.setSkippedIdentifier(std::nullopt);
  memory_.setAttempt(std::nullopt);

  EXPECT_FALSE(memory_.skippedIdentifier() || memory_.attempt());
  EXPECT_FALSE(settings_->objectForKey(UpdateMemory::attemptKey));
}

TEST_F(UpdateMemoryTest, TheNextCheckIsDueAfterTheInterval) {
  memory_.setLastCheck(now_);
  memory_.setRefetchInterval(7200);

  EXPECT_EQ(memory_.nextCheck(now_ + hours(1)), now_ + hours(2));
  EXPECT_EQ(memory_.nextCheck(now_ + hours(2)), std::nullopt);
}

TEST_F(UpdateMemoryTest, ACheckOfTheFutureDoesNotPutOffTheNextOne) {
  memory_.setLastCheck(now_ + hours(1));

  EXPECT_EQ(memory_.nextCheck(now_), std::nullopt);
}

TEST_F(UpdateMemoryTest, NumbersThatCannotBeMeantAreKeptWithinBounds) {
  memory_.setLastCheck(now_);

  for (const double interval : {-1.0, std::nan("")}) {
    memory_.setRefetchInterval(interval);
    EXPECT_EQ(memory_.nextCheck(now_), std::nullopt);
  }
  memory_.setRefetchInterval(std::numeric_limits<double>::infinity());
  EXPECT_LT(*memory_.nextCheck(now_), now_ + std::chrono::years(101));
  store("QuillonUpdateReminderHours", QuillonPropertyListValue(std::numeric_limits<std::int64_t>::max()));
  EXPECT_LT(memory_.reminderHours(), std::numeric_limits<std::int64_t>::max() / 3600);
  store("QuillonUpdateReminderHours", QuillonPropertyListValue(-5));
  EXPECT_EQ(memory_.reminderHours(), 0);
}

TEST_F(UpdateMemoryTest, ValuesOfOtherTypesCountAsAbsent) {
  for (const char* const key : {"QuillonUpdateShownIdentifiers", "QuillonUpdateLastShown", "QuillonUpdateLastCheck",
                                "QuillonUpdateLastAttempt"}) {
    store(key, QuillonPropertyListValue("text"));
  }

  EXPECT_TRUE(memory_.shownIdentifiers().empty());
  EXPECT_FALSE(memory_.lastShown() || memory_.lastCheck() || memory_.attempt());
}

TEST_F(UpdateMemoryTest, TheStaggerGroupIsTheApplications) {
  store("QuillonUpdateStaggerGroup", QuillonPropertyListValue(3));

  EXPECT_EQ(memory_.staggerGroup(), 3);
}

/// Settings on a disk that is full.
class FullStore final : public QuillonKeyValueStoring {
 public:
  [[nodiscard]] bool boolForKey(std::string_view) const override { return false; }
  [[nodiscard]] std::optional<std::string> stringForKey(std::string_view) const override { return {}; }
  [[nodiscard]] std::int64_t integerForKey(std::string_view) const override { return 0; }
  [[nodiscard]] double doubleForKey(std::string_view) const override { return 0; }
  [[nodiscard]] std::optional<QuillonPropertyListValue> objectForKey(std::string_view) const override { return {}; }
  void set(const std::optional<QuillonPropertyListValue>&, std::string_view) override {
    throw QuillonError("disk full");
  }
  void removeObject(std::string_view) override { throw QuillonError("disk full"); }
};

TEST_F(UpdateMemoryTest, WhatCannotBeStoredIsLogged) {
  UpdateMemory memory(std::make_shared<FullStore>(), logger_);

  EXPECT_FALSE(memory.setLastCheck(now_));

  ASSERT_EQ(logger_->entries().size(), 1U);
  EXPECT_EQ(std::get<0>(logger_->entries().front()), "cannot store QuillonUpdateLastCheck: disk full");
}

}  // namespace
}  // namespace quillon
