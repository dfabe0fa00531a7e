#include <gtest/gtest.h>

#include <string>

#include "QuillonCore/Text/QuillonPlainText.h"

namespace quillon {
namespace {

using namespace std::string_literals;

TEST(QuillonPlainTextTest, OrdinaryTextStaysAsItIs) {
  for (const char* const text :
       {"", "Example 2.1", "Ünïcödé 日本語 한국어", "👩‍👩‍👧 e\u0301", "עברית\u200F (1)"}) {
    EXPECT_EQ(singleLineText(text), text);
    EXPECT_EQ(multiLineText(text), text);
  }
}

TEST(QuillonPlainTextTest, MarkupIsTextLikeAnyOther) {
  EXPECT_EQ(singleLineText("<b>&amp;%@ _x</b>"), "<b>&amp;%@ _x</b>");
}

TEST(QuillonPlainTextTest, EveryNewlineIsOneBlankInASingleLine) {
  EXPECT_EQ(singleLineText("a\nb\r\nc\rd\ve\ff\u0085g\u2028h\u2029i"), "a b c d e f g h i");
}

TEST(QuillonPlainTextTest, EveryNewlineIsALineFeedInSeveralLines) {
  EXPECT_EQ(multiLineText("a\nb\r\nc\rd\ve\ff\u0085g\u2028h\u2029i"), "a\nb\nc\nd\ne\nf\ng\nh\ni");
}

TEST(QuillonPlainTextTest, ATabIsABlank) {
  EXPECT_EQ(singleLineText("a\tb"), "a b");
  EXPECT_EQ(multiLineText("a\tb"), "a b");
}

TEST(QuillonPlainTextTest, ControlCharactersAreGone) {
  EXPECT_EQ(singleLineText("a\0b\x07\x1B[31mc\x7F\u0080\u009Fd"s), "ab[31mcd");
  EXPECT_EQ(multiLineText("a\0b\x07\x1B[31mc\x7F\u0080\u009Fd"s), "ab[31mcd");
}

TEST(QuillonPlainTextTest, NothingTurnsTheDirectionOfWhatFollows) {
  EXPECT_EQ(singleLineText("a\u202Ab\u202Bc\u202Cd\u202De\u202Ef\u2066g\u2067h\u2068i\u2069j"), "abcdefghij");
}

TEST(QuillonPlainTextTest, BytesThatAreNoTextAreReplaced) {
  EXPECT_EQ(singleLineText("a\xFF\xC3"), "a\uFFFD\uFFFD");
  EXPECT_EQ(singleLineText("\xED\xA0\x80z"), "\uFFFD\uFFFD\uFFFDz");
}

TEST(QuillonPlainTextTest, ALongTextStaysWhole) {
  const std::string text(10'000, 'x');

  EXPECT_EQ(singleLineText(text), text);
}

}  // namespace
}  // namespace quillon
