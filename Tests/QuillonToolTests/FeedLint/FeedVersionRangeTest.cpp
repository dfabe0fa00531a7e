#include <gtest/gtest.h>

#include <array>
#include <bitset>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonTool/FeedLint/FeedVersionRange.h"
#include "QuillonUpdatesCore/VeskUpdateFeedEligibilityEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

TEST(FeedVersionRangeTest, IsSplitAtTheFirstAndTheLastHyphen) {
  EXPECT_EQ(FeedVersionRange::parse("2.0").low, "2.0");
  EXPECT_FALSE(FeedVersionRange::parse("2.0").high);
  EXPECT_EQ(FeedVersionRange::parse("-5.0").low, "");
  EXPECT_EQ(FeedVersionRange::parse("-5.0").high, "5.0");
  EXPECT_EQ(FeedVersionRange::parse("1-x-2").high, "2");
  EXPECT_TRUE(FeedVersionRange::parse("1-x-2").hasPiecesBetween);
  EXPECT_FALSE(FeedVersionRange::parse("1-2").hasPiecesBetween);
}

TEST(FeedVersionRangeTest, PlainVersionsAreNumbersWithSinglePeriods) {
  EXPECT_TRUE(isPlainVersion("10.15.7"));
  for (const std::string_view version : {"", ".", "1.", ".1", "1..2", "1 ", "1b2", "1-2", "١"}) {
    EXPECT_FALSE(isPlainVersion(version)) << version;
  }
  EXPECT_FALSE(isPlainVersion(std::string(1'000'000, '1')));
}

TEST(FeedVersionRangeTest, KnowsRangesThatAdmitNothing) {
  const auto isNothing = [](std::string_view text) { return admitsNothing(FeedVersionRange::parse(text)); };
  EXPECT_TRUE(isNothing("4.0-"));
  EXPECT_TRUE(isNothing("4.0b1-"));
  EXPECT_TRUE(isNothing("2.0-1.9"));
  EXPECT_TRUE(isNothing("1.0 - 2.0"));
  EXPECT_FALSE(isNothing("4.0"));
  EXPECT_FALSE(isNothing("0-"));
  EXPECT_FALSE(isNothing("2.0-2"));
  EXPECT_FALSE(isNothing("-5.0"));
}

TEST(FeedVersionRangeTest, KnowsRangesWithinOthers) {
  EXPECT_TRUE(admitsEverythingOf("", "2.0"));
  EXPECT_TRUE(admitsEverythingOf("1.0", "2.0-3.0"));
  EXPECT_TRUE(admitsEverythingOf("1.0-4.0", "2.0-3.0"));
  EXPECT_TRUE(admitsEverythingOf("1.0b1-4.0", "1.0b1-3.0"));
  EXPECT_FALSE(admitsEverythingOf("2.0", ""));
  EXPECT_FALSE(admitsEverythingOf("2.0-3.0", "2.0"));
  EXPECT_FALSE(admitsEverythingOf("2.5", "2.0-3.0"));
}

/// What the functions claim about all versions is held against the evaluator, over every version that up to four of
/// the pieces make, among them those at the corners of the order.
class FeedVersionRangeSoundnessTest : public ::testing::Test {
 protected:
  static constexpr std::size_t kMostVersions = 8192;
  using Set = std::bitset<kMostVersions>;

  FeedVersionRangeSoundnessTest() {
    versions_ = {""};
    std::size_t first = 0;
    for (int length = 1; length <= 4; ++length) {
      const std::size_t end = versions_.size();
      for (; first < end; ++first) {
        for (const std::string_view piece : {"0", "1", ".0", ".1", "2", ".", "b1"}) {
          versions_.push_back(versions_[first] + std::string(piece));
        }
      }
    }
  }

  static std::vector<std::string> ranges() {
    static constexpr std::array<std::string_view, 9> kBounds = {"",    "0",   "1",     "1.0",  "1.0.0",
                                                                "1.1", "2.0", "1.0b1", "1.0.1"};
    std::vector<std::string> ranges;
    for (const std::string_view low : kBounds) {
      if (!low.empty()) ranges.emplace_back(low);
      for (const std::string_view high : kBounds) ranges.push_back(std::string(low).append("-").append(high));
    }
    return ranges;
  }

  /// The versions that hosts admit.
  [[nodiscard]] Set admitted(const std::string& range) const {
    const VeskUpdateFeedEligibilityEvaluator evaluator;
    const VeskUpdateFeed feed = feedOf({entryOf({{"type", "update"}, {"version", range}})});
    const VeskUpdateVersionComparing compare = &VeskUpdateVersionComparison::compare;
    VeskUpdateFeedApplicabilityContext context;
    context.canProcessUpdateFeeds = true;
    Set set;
    for (std::size_t i = 0; i < versions_.size(); ++i) {
      context.appVersion = versions_[i];
      set[i] = evaluator.evaluateApplicability(feed.at(0), context, compare).shouldProcessFeed;
    }
    return set;
  }

  /// The versions that `version` is newer than.
  [[nodiscard]] Set olderThan(std::string_view version) const {
    Set set;
    for (std::size_t i = 0; i < versions_.size(); ++i) {
      set[i] = VeskUpdateVersionComparison::compare(version, versions_[i]) == ComparisonResult::descending;
    }
    return set;
  }

  std::vector<std::string> versions_;
};

TEST_F(FeedVersionRangeSoundnessTest, WhatIsSaidOfRangesIsSoForEveryVersion) {
  ASSERT_LE(versions_.size(), kMostVersions);
  const std::vector<std::string> all = ranges();
  std::vector<Set> sets;
  for (const std::string& range : all) sets.push_back(admitted(range));
  const std::array<std::string, 7> offers = {"1", "1.0", "1.0.0", "1.0.1", "2", "2.0", "1.0b1"};

  std::size_t claims = 0;
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (admitsNothing(FeedVersionRange::parse(all[i]))) {
      ++claims;
      EXPECT_TRUE(sets[i].none()) << all[i];
    }
    for (std::size_t j = 0; j < all.size(); ++j) {
      if (!admitsEverythingOf(all[i], all[j])) continue;
      ++claims;
      EXPECT_TRUE((sets[j] & ~sets[i]).none()) << all[i] << " does not contain " << all[j];
    }
    for (const std::string& offer : offers) {
      if (!isNewerThanNothingIn(FeedVersionRange::parse(all[i]), offer)) continue;
      ++claims;
      EXPECT_TRUE((sets[i] & olderThan(offer)).none()) << offer << " for " << all[i];
    }
  }
  EXPECT_GT(claims, 500U);
}

TEST_F(FeedVersionRangeSoundnessTest, ANewerVersionIsNewerWhereverTheOtherIs) {
  const std::array<std::string, 9> versions = {"0", "1", "1.0", "1.0.0", "1.0.1", "1.1", "2", "2.0", "1.0b1"};
  for (const std::string& a : versions) {
    for (const std::string& b : versions) {
      if (isNewerWherever(a, b)) {
        EXPECT_TRUE((olderThan(b) & ~olderThan(a)).none()) << a << " " << b;
      }
    }
  }
  EXPECT_TRUE(isNewerWherever("2.0", "1.1"));
  EXPECT_FALSE(isNewerWherever("1.1", "2.0"));
}

}  // namespace
}  // namespace quillon
