#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonUpdatesCore/VeskUpdateFeedProcessingEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

constexpr QuillonDate kNow = std::chrono::sys_days(std::chrono::year(2024) / 6 / 15);

class VeskUpdateFeedProcessingEvaluatorTest : public ::testing::Test {
 protected:
  VeskUpdateFeedProcessingEvaluatorTest() {
    applicability_.appVersion = "2.1";
    applicability_.canProcessUpdateFeeds = true;
    applicability_.now = kNow;
    display_.appVersion = "2.1";
    display_.canProcessUpdateFeeds = true;
    display_.now = kNow;
  }

  [[nodiscard]] std::optional<VeskUpdateFeedProcessingCandidate> select(const VeskUpdateFeed& feed) const {
    return VeskUpdateFeedProcessingEvaluator().selectFirstProcessable(feed, applicability_, display_,
                                                                      &VeskUpdateVersionComparison::compare);
  }
  /// The identifier of the entry that is chosen; empty when none is.
  [[nodiscard]] std::string selected(const VeskUpdateFeed& feed) const {
    const auto candidate = select(feed);
    return candidate ? std::string(stringOrEmpty(candidate->feed, "id")) : std::string();
  }

  VeskUpdateFeedApplicabilityContext applicability_;
  VeskUpdateFeedDisplayContext display_;
};

TEST_F(VeskUpdateFeedProcessingEvaluatorTest, OfTwoThatApplyTheFirstIsChosen) {
  const VeskUpdateFeed feed = feedOf({entryOf({{"type", "update"}, {"id", "a"}, {"current", "2.2"}}),
                                      entryOf({{"type", "update"}, {"id", "b"}, {"current", "3.0"}})});

  EXPECT_EQ(selected(feed), "a");
}

TEST_F(VeskUpdateFeedProcessingEvaluatorTest, EntriesOfOtherTypesAndThoseThatDoNotApplyArePassedOver) {
  const VeskUpdateFeed feed =
      feedOf({entryOf({{"type", "news"}, {"id", "a"}, {"current", "3.0"}}), entryOf({{"id", "b"}, {"current", "3.0"}}),
              entryOf({{"type", "update"}, {"id", "c"}, {"current", "2.0"}}),
              entryOf({{"type", "update"}, {"id", "d"}, {"current", "3.0b1"}}),
              entryOf({{"type", "update"}, {"id", "e"}, {"current", "3.0"}})});

  EXPECT_EQ(selected(feed), "e");
}

TEST_F(VeskUpdateFeedProcessingEvaluatorTest, WhenTheFirstWaitsForItsReminderTheSecondIsConsidered) {
  display_.lastNewsDisplayedDate = kNow - std::chrono::hours(1);
  display_.checkUpdatesAfterHours = 24;
  const VeskUpdateFeed feed =
      feedOf({entryOf({{"type", "update"}, {"id", "a"}, {"current", "2.2"}}),
              entryOf({{"type", "update"}, {"id", "b"}, {"current", "3.0"}, {"mustupdate", "2.1"}})});

  EXPECT_EQ(selected(feed), "b");
}

TEST_F(VeskUpdateFeedProcessingEvaluatorTest, AnEntryWithoutIdentifierIsPassedOver) {
  const VeskUpdateFeed feed = feedOf({entryOf({{"type", "update"}, {"current", "2.2"}}),
                                      entryOf({{"type", "update"}, {"id", "b"}, {"current", "2.2"}})});

  EXPECT_EQ(selected(feed), "b");
}

TEST_F(VeskUpdateFeedProcessingEvaluatorTest, WhenNothingAppliesNothingIsChosen) {
  EXPECT_FALSE(select(feedOf({entryOf({{"type", "update"}, {"id", "a"}, {"current", "2.0"}})})));
}

TEST_F(VeskUpdateFeedProcessingEvaluatorTest, TheCandidateHoldsTheResultsOfItsEntry) {
  const VeskUpdateFeed feed = feedOf({entryOf({{"type", "update"}, {"id", "a"}, {"current", "2.2"}})});

  const auto candidate = select(feed);

  ASSERT_TRUE(candidate);
  EXPECT_TRUE(candidate->applicability.isUpdate);
  EXPECT_EQ(candidate->applicability.resolvedFeedIdentifier, "a");
  EXPECT_TRUE(candidate->display.shouldDisplayNow);
  EXPECT_EQ(candidate->display.resolvedFeedIdentifier, "a");
}

TEST_F(VeskUpdateFeedProcessingEvaluatorTest, EntriesBehindTheChosenOneAreNotLookedAt) {
  const VeskUpdateFeed feed = feedOf({entryOf({{"type", "update"}, {"id", "a"}, {"current", "2.2"}}),
                                      entryOf({{"type", "update"}, {"id", "b"}, {"current", "3.0"}})});
  int comparisons = 0;

  const auto candidate = VeskUpdateFeedProcessingEvaluator().selectFirstProcessable(
      feed, applicability_, display_, [&comparisons](std::string_view a, std::string_view b) {
        EXPECT_NE(a, "3.0");
        ++comparisons;
        return VeskUpdateVersionComparison::compare(a, b);
      });

  EXPECT_TRUE(candidate);
  EXPECT_EQ(comparisons, 1);
}

}  // namespace
}  // namespace quillon
