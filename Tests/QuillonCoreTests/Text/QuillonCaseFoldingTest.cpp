#include <gtest/gtest.h>

#include "QuillonCore/Text/QuillonCaseFolding.h"

namespace quillon {
namespace {

TEST(QuillonCaseFoldingTest, LettersAreEqualInEitherCase) {
  EXPECT_TRUE(equalIgnoringCase("de-AT", "DE-at"));
  EXPECT_TRUE(equalIgnoringCase("ÄÉΩЖ", "äéωж"));
}

TEST(QuillonCaseFoldingTest, OtherTextsDiffer) {
  EXPECT_FALSE(equalIgnoringCase("de", "en"));
  EXPECT_FALSE(equalIgnoringCase("de", "de-AT"));
  EXPECT_FALSE(equalIgnoringCase("de-AT", "de"));
  EXPECT_FALSE(equalIgnoringCase("de_AT", "de-AT"));
  EXPECT_FALSE(equalIgnoringCase("", "a"));
}

TEST(QuillonCaseFoldingTest, TheEmptyTextEqualsItself) {
  EXPECT_TRUE(equalIgnoringCase("", ""));
}

TEST(QuillonCaseFoldingTest, BadBytesEqualThemselvesOnly) {
  EXPECT_TRUE(equalIgnoringCase("a\xC3", "A\xC3"));
  EXPECT_FALSE(equalIgnoringCase("\xC3", "\xE3"));
}

}  // namespace
}  // namespace quillon
