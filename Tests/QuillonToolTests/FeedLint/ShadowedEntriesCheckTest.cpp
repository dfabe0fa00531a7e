#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "QuillonTool/FeedLint/ShadowedEntriesCheck.h"
#include "QuillonUpdatesCore/VeskUpdateFeedProcessingEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Numbers of the entries that are said to be never offered, and with "~" those that only wait behind another one.
std::vector<std::string> shadowed(const VeskUpdateFeed& feed) {
  std::vector<FeedFinding> findings;
  checkShadowedEntries(feed, findings);
  std::vector<std::string> numbers;
  for (const FeedFinding& finding : findings) {
    const bool isNever = finding.effect == "The entry is never offered.";
    numbers.push_back((isNever ? "" : "~") + std::to_string(*finding.index));
  }
  return numbers;
}

FeedDictionary update(std::initializer_list<std::pair<const std::string_view, std::string_view>> values) {
  FeedDictionary entry = entryOf(values);
  entry.emplace("type", QuillonPropertyListValue("update"));
  entry.emplace("id", QuillonPropertyListValue("1"));
  return entry;
}

TEST(ShadowedEntriesCheckTest, AnOlderVersionBehindANewerOneIsNeverOffered) {
  EXPECT_THAT(shadowed(feedOf({update({{"current", "3.0"}}), update({{"current", "2.0"}})})), ElementsAre("1"));
  EXPECT_THAT(shadowed(feedOf({update({{"current", "2.0"}}), update({{"current", "3.0"}})})), IsEmpty());
}

TEST(ShadowedEntriesCheckTest, AnEntryForFewerUsersShadowsNothingOfMore) {
  for (const auto& [key, value] : {std::pair{"version", "2.0"}, {"os", "13.0"}, {"sku", "mas"}, {"lang", "de"}}) {
    EXPECT_THAT(shadowed(feedOf({update({{"current", "3.0"}, {key, value}}), update({{"current", "3.0"}})})), IsEmpty())
        << key;
    EXPECT_THAT(shadowed(feedOf({update({{"current", "3.0"}}), update({{"current", "3.0"}, {key, value}})})),
                ElementsAre("1"))
        << key;
  }
}

TEST(ShadowedEntriesCheckTest, AnEntryThatIsHeldBackShadowsNoEarlierRelease) {
  const FeedDictionary june = update({{"current", "3.0"}, {"releasedate", "2024-06-01"}});
  const FeedDictionary may = update({{"current", "2.0"}, {"releasedate", "2024-05-01"}});
  const FeedDictionary important = update({{"current", "2.0"}, {"important", "1"}});

  EXPECT_THAT(shadowed(feedOf({june, may})), IsEmpty());
  EXPECT_THAT(shadowed(feedOf({june, important})), IsEmpty());
  EXPECT_THAT(shadowed(feedOf({may, june})), IsEmpty());
  EXPECT_THAT(shadowed(feedOf({june, june})), ElementsAre("1"));
}

TEST(ShadowedEntriesCheckTest, WhatDoesNotWaitForTheReminderIsOfferedWhileTheOtherWaits) {
  EXPECT_THAT(shadowed(feedOf({update({{"current", "3.0"}}), update({{"current", "2.0"}, {"mustupdate", "1.0"}})})),
              ElementsAre("~1"));
  EXPECT_THAT(shadowed(feedOf({update({{"current", "3.0"}}), update({{"current", "2.0"}, {"currentbuild", "7"}})})),
              ElementsAre("~1"));
}

TEST(ShadowedEntriesCheckTest, AnOlderBuildBehindANewerOneIsNeverOffered) {
  const FeedDictionary build7 = update({{"current", "3.0"}, {"currentbuild", "7"}});
  const FeedDictionary build8 = update({{"current", "3.0"}, {"currentbuild", "8"}});

  EXPECT_THAT(shadowed(feedOf({build8, build7})), ElementsAre("1"));
  EXPECT_THAT(shadowed(feedOf({build7, build8})), IsEmpty());
}

TEST(ShadowedEntriesCheckTest, WhatIsNeverOfferedShadowsNothing) {
  EXPECT_THAT(shadowed(feedOf({entryOf({{"type", "news"}, {"id", "1"}}), entryOf({{"type", "update"}}),
                               update({{"version", "4.0-"}}), update({{"current", "3.0"}})})),
              IsEmpty());
}

TEST(ShadowedEntriesCheckTest, ARepetitionIsFoundBehindManyEntries) {
  QuillonPropertyListValue::Array entries;
  for (int i = 0; i < 200; ++i) {
    entries.emplace_back(update({{"current", "300.0"}, {"version", std::to_string(i) + ".0-" + std::to_string(i)}}));
  }
  entries.push_back(entries[150]);
  const QuillonPropertyListValue list(std::move(entries));
  const VeskUpdateFeed feed(QuillonPropertyListDocument(writeBinaryPropertyList(list)));

  EXPECT_THAT(shadowed(feed), ElementsAre("200"));
}

/// Makes feeds and installations of few values, so that entries often stand in each other's way.
class RandomFeeds {
 public:
  QuillonPropertyListValue::Array feed() {
    QuillonPropertyListValue::Array entries;
    for (int i = 0; i < 5; ++i) entries.emplace_back(entry());
    return entries;
  }

  void fill(VeskUpdateFeedApplicabilityContext& applicability, VeskUpdateFeedDisplayContext& display) {
    applicability.appVersion = pick({"1", "1.0", "1.0.0", "2.0", "2.0b1", "1.", "0", "3"});
    applicability.appBuild = number(4);
    applicability.currentOSVersion = pick({"12", "13.0", "13", "14.1"});
    applicability.preferredLanguageCode = pick({"de", "DE", "en"});
    if (number(2) == 0) applicability.acceptedSKUs = {"mas"};
    applicability.canProcessUpdateFeeds = true;
    applicability.isManualCheck = number(4) == 0;
    applicability.checkForBetaReleasesEnabled = number(2) == 0;
    applicability.shouldApplyUserStaggering = number(2) == 0;
    applicability.userStaggerGroup = number(12);
    applicability.now = std::chrono::sys_days(std::chrono::year(2024) / 6 / 1) + std::chrono::hours(24 * number(12));
    display.appVersion = applicability.appVersion;
    display.canProcessUpdateFeeds = number(4) != 0;
    display.now = applicability.now;
    display.isManualCheck = applicability.isManualCheck;
    display.checkUpdatesAfterHours = 24;
    if (number(2) == 0) display.lastNewsDisplayedDate = display.now - std::chrono::hours(1);
  }

 private:
  FeedDictionary entry() {
    FeedDictionary entry = entryOf({{"type", "update"}, {"id", "1"}});
    add(entry, "version", {"1", "1.0", "1.0-2.0", "-2", "0", "2.0b1"});
    add(entry, "os", {"13", "13.0", "13.0-14"});
    add(entry, "sku", {"mas"});
    add(entry, "lang", {"de", "DE"});
    add(entry, "current", {"2.0", "2", "3.0", "2.0b1", "1.0.0"});
    add(entry, "currentbuild", {"1", "2", "3"});
    add(entry, "mustupdate", {"1.0", "2.0"});
    add(entry, "important", {"1"});
    add(entry, "releasedate", {"2024-06-01", "2024-06-05"});
    return entry;
  }
  void add(FeedDictionary& entry, const std::string& key, std::initializer_list<std::string_view> values) {
    if (number(3) == 0) entry.emplace(key, QuillonPropertyListValue(pick(values)));
  }
  std::string pick(std::initializer_list<std::string_view> values) {
    return std::string(values.begin()[number(static_cast<int>(values.size()))]);
  }
  int number(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }

  std::mt19937 random_{20240610};
};

TEST(ShadowedEntriesCheckTest, WhatIsSaidToBeNeverOfferedIsNotOfferedToAnybody) {
  RandomFeeds random;
  const VeskUpdateVersionComparing compare = &VeskUpdateVersionComparison::compare;
  const VeskUpdateFeedProcessingEvaluator evaluator;
  int reports = 0;
  for (int round = 0; round < 300; ++round) {
    const QuillonPropertyListValue list(random.feed());
    const VeskUpdateFeed feed(QuillonPropertyListDocument(writeBinaryPropertyList(list)));
    const std::vector<std::string> numbers = shadowed(feed);
    const std::set<std::string> never(numbers.begin(), numbers.end());
    reports += static_cast<int>(never.size());
    for (int check = 0; check < 40; ++check) {
      VeskUpdateFeedApplicabilityContext applicability;
      VeskUpdateFeedDisplayContext display;
      random.fill(applicability, display);
      const auto candidate = evaluator.selectFirstProcessable(feed, applicability, display, compare);
      for (std::size_t i = 0; candidate && i < feed.size(); ++i) {
        if (!feed.at(i).isSameAs(candidate->feed)) continue;
        // Equal entries are one object of a binary list; the first of them is the one that is offered.
        EXPECT_FALSE(never.contains(std::to_string(i))) << "round " << round << " entry " << i;
        break;
      }
    }
  }
  EXPECT_GT(reports, 100);
}

}  // namespace
}  // namespace quillon
