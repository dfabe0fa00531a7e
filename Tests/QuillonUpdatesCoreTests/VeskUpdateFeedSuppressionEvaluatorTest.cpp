#include <gtest/gtest.h>

#include "QuillonUpdatesCore/VeskUpdateFeedSuppressionEvaluator.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

TEST(VeskUpdateFeedSuppressionEvaluatorTest, NoFeedIsSuppressed) {
  const VeskUpdateFeed feed = feedOf({entryOf({{"type", "update"}, {"id", "a"}})});

  EXPECT_FALSE(VeskUpdateFeedSuppressionEvaluator().evaluate(feed, {}).isSuppressed);
}

}  // namespace
}  // namespace quillon
