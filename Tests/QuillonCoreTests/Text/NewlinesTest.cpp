#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonCore/Text/Newlines.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(NewlinesTest, EveryNewlineCharacterEndsALineAndCarriageReturnLineFeedIsOne) {
  EXPECT_THAT(lines("a\nb\rc\r\nd\ve\ff\u0085g\u2028h\u2029i"),
              ElementsAre("a", "b", "c", "d", "e", "f", "g", "h", "i"));
  EXPECT_THAT(lines("a\n\nb\n"), ElementsAre("a", "", "b"));
  EXPECT_THAT(lines(""), IsEmpty());
}

TEST(NewlinesTest, NewlinesAreWrittenAsBackslashAndN) {
  EXPECT_EQ(withNewlinesEscaped("a\r\nb\u2029c"), "a\\nb\\nc");
}

TEST(NewlinesTest, WhiteSpaceIsTrimmedAtBothEndsOnly) {
  EXPECT_EQ(trimmed(" \t\n\u00A0\u3000a b\u2003\r\n"), "a b");
  EXPECT_EQ(trimmed(" \n "), "");
  EXPECT_EQ(trimmed("\u00E9"), "\u00E9");
}

TEST(NewlinesTest, BytesThatAreNoUTF8AreKept) {
  EXPECT_EQ(trimmed(" \x80\xFF "), "\x80\xFF");
  EXPECT_THAT(lines("\xC2\n\xE2\x80"), ElementsAre("\xC2", "\xE2\x80"));
}

}  // namespace
}  // namespace quillon
