#include <gtest/gtest.h>

#include "QuillonCore/Text/QuillonGraphemeClusters.h"

namespace quillon {
namespace {

TEST(QuillonGraphemeClustersTest, PlainCharactersAreClustersOfTheirOwn) {
  EXPECT_EQ(firstGraphemeClusterLength(U"ab"), 1U);
  EXPECT_EQ(firstGraphemeClusterLength(U"a"), 1U);
  EXPECT_EQ(firstGraphemeClusterLength(U""), 0U);
}

TEST(QuillonGraphemeClustersTest, MarksBelongToTheCharacterBeforeThem) {
  EXPECT_EQ(firstGraphemeClusterLength(U"e\u0301\u0323x"), 3U);
  EXPECT_EQ(firstGraphemeClusterLength(U"\u0301x"), 1U);
}

TEST(QuillonGraphemeClustersTest, ControlsTakeNoMarks) {
  EXPECT_EQ(firstGraphemeClusterLength(U"\n\u0301"), 1U);
  EXPECT_EQ(firstGraphemeClusterLength(std::u32string{0xDC80, 0x0301}), 1U);
}

TEST(QuillonGraphemeClustersTest, CarriageReturnAndLineFeedStayTogether) {
  EXPECT_EQ(firstGraphemeClusterLength(U"\r\n\n"), 2U);
  EXPECT_EQ(firstGraphemeClusterLength(U"\n\r"), 1U);
}

TEST(QuillonGraphemeClustersTest, FlagsAndJoinedEmojiAreOneCluster) {
  EXPECT_EQ(firstGraphemeClusterLength(U"\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7"), 2U);
  EXPECT_EQ(firstGraphemeClusterLength(U"\U0001F469\u200D\U0001F680x"), 3U);
}

}  // namespace
}  // namespace quillon
