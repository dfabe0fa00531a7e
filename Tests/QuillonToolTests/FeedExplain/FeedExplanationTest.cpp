#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "QuillonTool/FeedExplain/FeedExplanation.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

FeedCheckContext contextOf(std::string_view version) {
  FeedCheckContext context;
  context.applicability.appVersion = context.display.appVersion = version;
  context.applicability.currentOSVersion = "14";
  context.applicability.canProcessUpdateFeeds = context.display.canProcessUpdateFeeds = true;
  return context;
}

std::vector<FeedEntryExplanation> explanations(const VeskUpdateFeed& feed, const FeedCheckContext& context) {
  std::vector<FeedEntryExplanation> all;
  explainFeed(feed, context, [&all](const FeedEntryExplanation& entry) { all.push_back(entry); });
  return all;
}

const FeedDictionary kFirst = entryOf({{"type", "update"}, {"id", "4"}, {"current", "4.0"}, {"version", "3.0"}});
const FeedDictionary kSecond = entryOf({{"type", "update"}, {"id", "3"}, {"current", "3.0"}});

TEST(FeedExplanationTest, EveryEntryIsExplainedAndTheOfferedOneNamed) {
  const VeskUpdateFeed feed = feedOf({kFirst, kSecond, kFirst});
  const auto all = explanations(feed, contextOf("2.0"));

  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[0].decidingTest()->name, "version");
  EXPECT_EQ(all[1].decidingTest(), nullptr);
  EXPECT_TRUE(all[1].applicability.isUpdate);
  EXPECT_TRUE(all[1].display.shouldDisplayNow);
  EXPECT_EQ(explainFeed(feed, contextOf("2.0"), [](const auto&) {}), 1U);
  EXPECT_EQ(explainFeed(feed, contextOf("3.0"), [](const auto&) {}), 0U);
  EXPECT_EQ(explainFeed(feed, contextOf("5.0"), [](const auto&) {}), std::nullopt);
}

TEST(FeedExplanationTest, ResultsAreWrittenFieldByField) {
  const VeskUpdateFeed feed = feedOf({kSecond});
  const std::string text = explanations(feed, contextOf("2.0")).at(0).json().text();

  EXPECT_TRUE(text.starts_with(
      R"({"index":0,"applicability":{"shouldProcessFeed":true,"isUpdate":true,"isNewBuild":false,)"
      R"("isBetaUpdate":false,"releaseDate":"0001-01-01T00:00:00Z","resolvedFeedIdentifier":"3"},)"
      R"("display":{"isEligibleForProcessing":true,"shouldDisplayNow":true,"resolvedFeedIdentifier":"3",)"
      R"("effectiveStoredFeedIdentifier":null},"tests":[{"name":"type","inputs":{"type":"update"},)"
      R"("outcome":"passed","reason":"the entry is an update"},)"))
      << text;
}

/// The tests together say what the evaluator says about the entry as a whole.
TEST(FeedExplanationTest, AnEntryCanBeOfferedWhenNoTestFails) {
  std::mt19937 random(7);
  const auto pick = [&random](const std::vector<std::string>& values) { return values[random() % values.size()]; };
  int offers = 0;
  for (int round = 0; round < 400; ++round) {
    FeedDictionary entry;
    const std::vector<std::pair<std::string, std::vector<std::string>>> choices = {
        {"type", {"update", "update", "update", "news"}},
        {"id", {"1", "1", ""}},
        {"version", {"", "", "1.0-2.0", "4.0-"}},
        {"os", {"", "13", "15"}},
        {"sku", {"", "", "mas"}},
        {"lang", {"", "", "de"}},
        {"current", {"3.0", "2.0", "3.0b1", ""}},
        {"currentbuild", {"101", "x", ""}},
        {"mustupdate", {"", "2.0"}},
        {"important", {"", "1"}},
        {"releasedate", {"", "2024-06-09"}}};
    for (const auto& [key, values] : choices) entry.emplace(key, QuillonPropertyListValue(pick(values)));
    FeedCheckContext context = contextOf("2.0");
    context.applicability.appBuild = 100;
    context.applicability.now = context.display.now = std::chrono::sys_days(std::chrono::year(2024) / 6 / 10);
    context.applicability.isManualCheck = context.display.isManualCheck = random() % 4 == 0;
    context.applicability.checkForBetaReleasesEnabled = random() % 2 == 0;
    context.applicability.shouldApplyUserStaggering = random() % 2 == 0;
    context.applicability.userStaggerGroup = static_cast<std::int64_t>(random() % 5);
    context.applicability.debugBypassApplicabilityChecks = random() % 8 == 0;
    context.display.lastNewsDisplayedDate = context.display.now - std::chrono::hours(random() % 48);
    context.display.checkUpdatesAfterHours = 24;

    const VeskUpdateFeed feed = feedOf({entry});
    const FeedEntryExplanation explanation = explanations(feed, context).at(0);

    const bool isOffered = explainFeed(feed, context, [](const auto&) {}).has_value();
    offers += isOffered ? 1 : 0;
    EXPECT_EQ(isOffered, explanation.decidingTest() == nullptr) << explanation.json().text();
  }
  EXPECT_GT(offers, 20);
}

}  // namespace
}  // namespace quillon
