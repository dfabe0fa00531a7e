#include <gtest/gtest.h>

#include <limits>

#include "QuillonTool/FeedSimulation/FeedArchiveSizes.h"
#include "QuillonTool/QuillonToolUsageError.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

TEST(FeedArchiveSizesTest, TheSizeOfThePromptIsNotThatOfTheArchive) {
  const VeskUpdateFeed feed =
      feedOf({entryOf({{"size", "1200"}}), entryOf({{"size", "{300, 200}"}}), entryOf({{"size", "-5"}}), entryOf({})});

  const FeedArchiveSizes sizes(feed, 7);

  EXPECT_EQ(sizes.bytes(0), 1200);
  EXPECT_EQ(sizes.bytes(1), 7);
  EXPECT_EQ(sizes.bytes(2), 7);
  EXPECT_EQ(sizes.bytes(3), 7);
  EXPECT_EQ(FeedArchiveSizes(feed, std::nullopt).bytes(1), std::nullopt);
}

TEST(FeedArchiveSizesTest, MoreBytesThan64BitsCountAreRefused) {
  const std::int64_t half = std::numeric_limits<std::int64_t>::max() / 2;
  const FeedArchiveSizes sizes(feedOf({entryOf({}), entryOf({})}), half / 1000);

  EXPECT_NO_THROW(sizes.requireCountable(999));
  EXPECT_THROW(sizes.requireCountable(1001), QuillonToolUsageError);
}

}  // namespace
}  // namespace quillon
