#include <gtest/gtest.h>

#include "QuillonCore/Text/QuillonScalars.h"

namespace quillon {
namespace {

TEST(QuillonScalarsTest, DecodesSequencesOfEveryLength) {
  EXPECT_TRUE(decodeScalars("a\u00E9\u20AC\U0001F600") == U"a\u00E9\u20AC\U0001F600");
  EXPECT_TRUE(decodeScalars("").empty());
}

TEST(QuillonScalarsTest, KeepsBadBytesApartAsSurrogates) {
  const std::u32string truncated = {0xDCE2, 0xDC82};
  const std::u32string encodedSurrogate = {0xDCED, 0xDCA0, 0xDC80};
  const std::u32string overlong = {0xDCC0, 0xDCAF};
  const std::u32string beyondUnicode = {0xDCF5, U'x'};

  EXPECT_TRUE(decodeScalars("\xE2\x82") == truncated);
  EXPECT_TRUE(decodeScalars("\xED\xA0\x80") == encodedSurrogate);
  EXPECT_TRUE(decodeScalars("\xC0\xAF") == overlong);
  EXPECT_TRUE(decodeScalars("\xF5x") == beyondUnicode);
}

TEST(QuillonScalarsTest, TakesOneScalarOffTheFront) {
  std::string_view text = "\u20ACx";

  const char32_t first = takeFirstScalar(text);

  EXPECT_EQ(static_cast<std::uint32_t>(first), 0x20ACU);
  EXPECT_EQ(text, "x");
}

}  // namespace
}  // namespace quillon
