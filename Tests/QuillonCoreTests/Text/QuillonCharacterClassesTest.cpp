#include <gtest/gtest.h>

#include <string_view>

#include "QuillonCore/Text/QuillonCharacterClasses.h"

namespace quillon {
namespace {

TEST(QuillonCharacterClassesTest, DecimalDigitsOfEveryScriptCount) {
  for (const char32_t c : std::u32string_view(U"09\u0660\u0669\u0966\uFF19\U0001D7CE\U0001D7FF")) {
    EXPECT_TRUE(isDecimalDigit(c)) << static_cast<std::uint32_t>(c);
  }
  for (const char32_t c : std::u32string_view(U"a.\u00B2\u2160\u4E00")) {
    EXPECT_FALSE(isDecimalDigit(c)) << static_cast<std::uint32_t>(c);
  }
}

TEST(QuillonCharacterClassesTest, DigitsHaveTheirDecimalValue) {
  EXPECT_EQ(decimalDigitValue(U'0'), 0);
  EXPECT_EQ(decimalDigitValue(U'9'), 9);
  EXPECT_EQ(decimalDigitValue(U'\u0663'), 3);
  EXPECT_EQ(decimalDigitValue(U'\uFF17'), 7);
}

TEST(QuillonCharacterClassesTest, AdjoiningRunsOfDigitsStartAgainAtZero) {
  // Mathematical digits: five runs of ten from U+1D7CE on.
  for (std::uint32_t i = 0; i < 50; ++i) EXPECT_EQ(decimalDigitValue(0x1D7CE + i), i % 10);
}

TEST(QuillonCharacterClassesTest, BlanksAndLineEndsAreWhitespace) {
  for (const char32_t c :
       std::u32string_view(U"\t\n\v\f\r \u0085\u00A0\u1680\u2000\u200A\u2028\u2029\u202F\u205F\u3000")) {
    EXPECT_TRUE(isWhitespaceOrNewline(c)) << static_cast<std::uint32_t>(c);
  }
  for (const char32_t c : std::u32string_view(U"a\u001C\u001F\u200B\uFEFF\u180E\u0008")) {
    EXPECT_FALSE(isWhitespaceOrNewline(c)) << static_cast<std::uint32_t>(c);
  }
}

TEST(QuillonCharacterClassesTest, PunctuationExcludesSymbols) {
  for (const char32_t c : std::u32string_view(U"!\"#%&'()*,-./:;?@[\\]_{}\u00A7\u2014\u3001\u30FB")) {
    EXPECT_TRUE(isPunctuation(c)) << static_cast<std::uint32_t>(c);
  }
  for (const char32_t c : std::u32string_view(U"$+<=>^`|~\u20AC\u00B0 a1")) {
    EXPECT_FALSE(isPunctuation(c)) << static_cast<std::uint32_t>(c);
  }
}

TEST(QuillonCharacterClassesTest, LettersAreThoseOfAnyScriptAndTheirMarks) {
  for (const char32_t c :
       std::u32string_view(U"aZ\u00E4\u01C5\u02B0\u03A9\u0416\u05D0\u4E2D\U0001D400\u0301\u0903\u20DD")) {
    EXPECT_TRUE(isLetter(c)) << static_cast<std::uint32_t>(c);
  }
  for (const char32_t c : std::u32string_view(U"0.-+ \u0661\u2160\u20AC")) {
    EXPECT_FALSE(isLetter(c)) << static_cast<std::uint32_t>(c);
  }
}

TEST(QuillonCharacterClassesTest, ATextContainsALetterWhereverItStands) {
  EXPECT_TRUE(containsLetter("2.1b3"));
  EXPECT_TRUE(containsLetter("2.1 \u0431"));
  EXPECT_TRUE(containsLetter("2.1\u0301"));
  EXPECT_FALSE(containsLetter(""));
  EXPECT_FALSE(containsLetter("2.1 \u0661\xff"));
}

TEST(QuillonCharacterClassesTest, SurrogatesAndUnassignedScalarsHaveNoClass) {
  for (const char32_t c : {char32_t{0xDC80}, char32_t{0x0378}, char32_t{0x10FFFF}, char32_t{0x110000}}) {
    EXPECT_FALSE(isDecimalDigit(c) || isWhitespaceOrNewline(c) || isPunctuation(c) || isLetter(c));
  }
}

}  // namespace
}  // namespace quillon
