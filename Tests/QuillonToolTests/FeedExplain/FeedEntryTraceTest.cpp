#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "QuillonTool/FeedExplain/FeedEntryTrace.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;

constexpr QuillonDate kNow = std::chrono::sys_days(std::chrono::year(2024) / 6 / 10);

/// An automatic check of version 2.5, build 100, on system 14.2.
class FeedEntryTraceTest : public ::testing::Test {
 protected:
  FeedEntryTraceTest() {
    context_.applicability.appVersion = context_.display.appVersion = "2.5";
    context_.applicability.appBuild = 100;
    context_.applicability.currentOSVersion = "14.2";
    context_.applicability.canProcessUpdateFeeds = context_.display.canProcessUpdateFeeds = true;
    context_.applicability.now = context_.display.now = kNow;
  }

  [[nodiscard]] std::vector<FeedEntryTest> trace() const {
    const VeskUpdateFeedEligibilityEvaluator evaluator;
    return FeedEntryTestMaker(evaluator, context_).testsOf(feedOf({entry_}).at(0));
  }
  /// "passed: reason" by the names of the tests.
  [[nodiscard]] std::map<std::string, std::string> outcomes() const {
    std::map<std::string, std::string> outcomes;
    for (const FeedEntryTest& test : trace()) {
      outcomes.emplace(test.name, std::string(outcomeName(test.outcome)) + ": " + test.reason);
    }
    return outcomes;
  }
  [[nodiscard]] std::string outcome(const std::string& name) const { return outcomes().at(name); }
  void set(const std::string& key, std::string_view value) {
    entry_.insert_or_assign(key, QuillonPropertyListValue(value));
  }

  FeedDictionary entry_ = entryOf({{"type", "update"}, {"id", "3.0"}, {"current", "3.0"}});
  FeedCheckContext context_;
};

TEST_F(FeedEntryTraceTest, EveryTestIsThereInTheOrderOfTheHost) {
  std::vector<std::string> names;
  for (const FeedEntryTest& test : trace()) names.emplace_back(test.name);

  EXPECT_THAT(names, ElementsAre("type", "processing", "version", "sku", "lang", "os", "staggering", "newer", "beta",
                                 "identifier", "stored identifier", "reminder"));
}

TEST_F(FeedEntryTraceTest, AnOfferFailsNoTest) {
  EXPECT_THAT(outcomes(), Each(Pair(testing::_, testing::Not(HasSubstr("failed:")))));
  EXPECT_EQ(outcome("newer"), "passed: \"3.0\" is newer than \"2.5\"");
}

TEST_F(FeedEntryTraceTest, AFailedTestDoesNotHideTheOthers) {
  set("type", "news");
  set("version", "1.0-2.0");
  set("sku", "mas");
  set("lang", "de");
  set("os", "15");
  set("current", "2.0");

  EXPECT_THAT(outcomes(),
              AllOf(Contains(Pair("type", "failed: the type is \"news\", not \"update\"")),
                    Contains(Pair("version", "failed: \"2.5\" is not within \"1.0-2.0\"")),
                    Contains(Pair("sku", "failed: \"mas\" is not accepted")),
                    Contains(Pair("lang", "failed: \"de\" is not the preferred language")),
                    Contains(Pair("os", "failed: \"14.2\" is not within \"15\"")),
                    Contains(Pair("newer", "failed: \"2.0\" is neither newer than \"2.5\" nor a newer build of it")),
                    Contains(Pair("identifier", "passed: the entry is \"3.0\""))));
}

TEST_F(FeedEntryTraceTest, ValuesThatSuitPass) {
  set("version", "2.0-3.0");
  set("sku", "mas");
  set("lang", "de");
  set("os", "14");
  context_.applicability.acceptedSKUs = {"mas"};
  context_.applicability.preferredLanguageCode = "DE";

  EXPECT_EQ(outcome("version"), "passed: \"2.5\" is within \"2.0-3.0\"");
  EXPECT_EQ(outcome("sku"), "passed: \"mas\" is accepted");
  EXPECT_EQ(outcome("lang"), "passed: \"de\" is the preferred language");
  EXPECT_EQ(outcome("os"), "passed: \"14.2\" is within \"14\"");
}

TEST_F(FeedEntryTraceTest, BypassedTestsAreSkipped) {
  set("version", "1.0-2.0");
  context_.applicability.debugBypassApplicabilityChecks = true;

  EXPECT_EQ(outcome("version"), "skipped: bypassed");
  EXPECT_EQ(outcome("sku"), "skipped: the entry has no \"sku\"");
  EXPECT_EQ(outcome("newer"), "passed: bypassed");
}

TEST_F(FeedEntryTraceTest, StaggeringSaysWhoWaits) {
  set("releasedate", "2024-06-09");
  EXPECT_EQ(outcome("staggering"), "skipped: no staggering is in force");

  context_.applicability.shouldApplyUserStaggering = true;
  context_.applicability.userStaggerGroup = 3;
  EXPECT_EQ(outcome("staggering"), "failed: group 3 waits, counted from the release day \"2024-06-09\"");

  set("important", "1");
  EXPECT_EQ(outcome("staggering"), "passed: group 3 is not held back");
}

TEST_F(FeedEntryTraceTest, ANewerBuildIsNamed) {
  set("current", "2.5");
  set("currentbuild", "101");
  EXPECT_EQ(outcome("newer"), "passed: \"2.5\" has a newer build");
}

TEST_F(FeedEntryTraceTest, ABetaIsForWhoWantsBetas) {
  set("current", "3.0b1");
  EXPECT_EQ(outcome("newer"), "passed: \"3.0b1\" is newer than \"2.5\"");
  EXPECT_EQ(outcome("beta"), "failed: betas are not wanted");

  context_.applicability.checkForBetaReleasesEnabled = true;
  EXPECT_EQ(outcome("beta"), "passed: betas are wanted");
}

TEST_F(FeedEntryTraceTest, AnEntryThatNothingIdentifiesFails) {
  entry_.erase("id");
  EXPECT_EQ(outcome("identifier"), "failed: the entry has neither \"id\" nor \"version\"");
}

TEST_F(FeedEntryTraceTest, TheReminderDelayIsWaitedFor) {
  context_.display.lastNewsDisplayedDate = kNow - std::chrono::hours(23);
  context_.display.checkUpdatesAfterHours = 24;
  EXPECT_EQ(outcome("reminder"),
            "failed: an entry was shown at 2024-06-09T01:00:00Z, and the reminder delay is not over");

  set("mustupdate", "2.5");
  EXPECT_EQ(outcome("reminder"), "passed: no reminder delay is to be waited for");
}

TEST_F(FeedEntryTraceTest, WithoutProcessingOnlyWhatWasShownLastCounts) {
  context_.applicability.canProcessUpdateFeeds = context_.display.canProcessUpdateFeeds = false;
  context_.display.storedFeedIdentifier = "3.0";
  EXPECT_EQ(outcome("processing"), "failed: feeds are not processed");
  EXPECT_EQ(outcome("stored identifier"), "failed: the entry was shown last");
  EXPECT_EQ(outcome("reminder"), "skipped: does not count where no feeds are processed");

  context_.display.shouldResetStoredFeedIdentifier = true;
  EXPECT_EQ(outcome("stored identifier"), "passed: the entry was not shown last");
}

TEST_F(FeedEntryTraceTest, InputsAreThoseThatCount) {
  entry_.insert_or_assign("os", QuillonPropertyListValue(14));
  const std::vector<FeedEntryTest> tests = trace();
  EXPECT_EQ(tests.at(5).inputs.text(), R"({"os":null,"currentOSVersion":"14.2"})");
  EXPECT_EQ(tests.at(3).inputs.text(), R"({"sku":null,"acceptedSKUs":[]})");
}

}  // namespace
}  // namespace quillon
