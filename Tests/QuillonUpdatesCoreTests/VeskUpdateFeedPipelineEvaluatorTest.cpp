#include <gtest/gtest.h>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

VeskUpdateFeedPipelineResult evaluate(const VeskUpdateFeed& feed) {
  VeskUpdateFeedApplicabilityContext applicability;
  applicability.appVersion = "2.1";
  applicability.canProcessUpdateFeeds = true;
  VeskUpdateFeedDisplayContext display;
  display.appVersion = "2.1";
  display.canProcessUpdateFeeds = true;
  return VeskUpdateFeedPipelineEvaluator().evaluate(feed, {}, applicability, display,
                                                    &VeskUpdateVersionComparison::compare);
}

TEST(VeskUpdateFeedPipelineEvaluatorTest, TheResultHoldsBothSteps) {
  const VeskUpdateFeed feed = feedOf(
      {entryOf({{"type", "news"}, {"id", "a"}}), entryOf({{"type", "update"}, {"id", "b"}, {"current", "3.0"}})});

  const VeskUpdateFeedPipelineResult result = evaluate(feed);

  EXPECT_FALSE(result.suppression.isSuppressed);
  ASSERT_TRUE(result.selectedCandidate);
  EXPECT_EQ(stringOrEmpty(result.selectedCandidate->feed, "id"), "b");
}

TEST(VeskUpdateFeedPipelineEvaluatorTest, AFeedWithoutAnUpdateGivesNoCandidate) {
  const VeskUpdateFeed feed = feedOf({entryOf({{"type", "news"}, {"id", "a"}})});

  EXPECT_FALSE(evaluate(feed).selectedCandidate);
}

}  // namespace
}  // namespace quillon
