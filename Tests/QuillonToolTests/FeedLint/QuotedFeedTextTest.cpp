#include <gtest/gtest.h>

#include <string>

#include "QuillonTool/FeedLint/QuotedFeedText.h"

namespace quillon {
namespace {

TEST(QuotedFeedTextTest, AShortTextStaysWhole) {
  EXPECT_EQ(quotedFeedText(""), "\"\"");
  EXPECT_EQ(quotedFeedText(std::string(60, 'a')), "\"" + std::string(60, 'a') + "\"");
}

TEST(QuotedFeedTextTest, ALongTextIsCutOffAtTheEndOfACharacter) {
  EXPECT_EQ(quotedFeedText(std::string(1'000'000, 'a')), "\"" + std::string(60, 'a') + "…\"");
  EXPECT_EQ(quotedFeedText(std::string(59, 'a') + "äb"), "\"" + std::string(59, 'a') + "…\"");
}

TEST(QuotedFeedTextTest, BytesThatAreNoTextEndSomewhere) {
  EXPECT_EQ(quotedFeedText(std::string(100, '\x80')), "\"…\"");
}

}  // namespace
}  // namespace quillon
