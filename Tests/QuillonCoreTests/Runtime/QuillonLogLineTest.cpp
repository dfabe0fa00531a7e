#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>

#include "QuillonCore/Runtime/QuillonLogLine.h"

namespace quillon {
namespace {

using namespace std::string_view_literals;

constexpr QuillonDate kDate = std::chrono::sys_days(std::chrono::year(2024) / 6 / 5) + std::chrono::hours(7) +
                              std::chrono::minutes(8) + std::chrono::seconds(9) + std::chrono::microseconds(10);

TEST(QuillonLogLineTest, ALineHasDateLevelCategoryAndText) {
  EXPECT_EQ(logLine(kDate, QuillonLogLevel::warn, "feed", "text"), "2024-06-05T07:08:09.000010Z warn [feed] text\n");
  EXPECT_EQ(logLine(kDate, QuillonLogLevel::debug, "", ""), "2024-06-05T07:08:09.000010Z debug [] \n");
}

TEST(QuillonLogLineTest, DatesOutsideOfFourDigitsAreHeldToThem) {
  EXPECT_TRUE(logLine(QuillonDate::min(), QuillonLogLevel::info, "", "").starts_with("0001-01-01T00:00:00.000000Z"));
  EXPECT_TRUE(logLine(QuillonDate::max(), QuillonLogLevel::info, "", "").starts_with("9999-12-31T23:59:59.999999Z"));
}

TEST(QuillonLogLineTest, CharactersThatForgeLinesOrSteerTerminalsAreWrittenOut) {
  EXPECT_EQ(logText("a\nb\r\x1B[31m\x7F\tc"), "a\\x0ab\\x0d\\x1b[31m\\x7f\\x09c");
  EXPECT_EQ(logText("a\0b"sv), "a\\x00b");
  EXPECT_EQ(logText("\u0085\u009B\u2028\u2029\u202E\u2066"), "\\x85\\x9b\\u2028\\u2029\\u202e\\u2066");
}

TEST(QuillonLogLineTest, BytesThatAreNoUTF8AreWrittenOut) {
  EXPECT_EQ(logText("\xFF \xC3( \xED\xA0\x80"), "\\xff \\xc3( \\xed\\xa0\\x80");
}

TEST(QuillonLogLineTest, OtherTextStaysAsItIs) {
  EXPECT_EQ(logText("Zo\u00EB \u4E16 \U0001F600 \\n"), "Zo\u00EB \u4E16 \U0001F600 \\n");
}

TEST(QuillonLogLineTest, ALineFeedInACategoryMakesNoLine) {
  EXPECT_EQ(logLine(kDate, QuillonLogLevel::info, "a\nb", "c"), "2024-06-05T07:08:09.000010Z info [a\\x0ab] c\n");
}

TEST(QuillonLogLineTest, LongTextIsCutBetweenCharacters) {
  EXPECT_EQ(logText("abcdefgh", 8), "abcdefgh");
  EXPECT_EQ(logText("abcdefghi", 8), "abcde...");
  EXPECT_EQ(logText("abcd\u00E9fghi", 8), "abcd...");
  EXPECT_EQ(logText("abc\n\n\n", 8), "abc...");
}

TEST(QuillonLogLineTest, ATextThatIsMadeHasTheLimitOfItsLog) {
  EXPECT_EQ(logTextOf([] { return std::string("abcdefghi"); }, 8), "abcde...");
  EXPECT_EQ(logTextOf([]() -> std::string { throw std::runtime_error("abc"); }, 12), "(the text...");
}

TEST(QuillonLogLineTest, NoLineIsLongerThanAPipeTakesInOnePiece) {
  const std::string line =
      logLine(kDate, QuillonLogLevel::debug, std::string(10'000, '\n'), logText(std::string(10'000, '\n')));

  EXPECT_LE(line.size(), kLongestLogLine);
  EXPECT_TRUE(line.ends_with("...\n"));
}

TEST(QuillonLogLineTest, ATextThatCannotBeMadeIsReplacedByTheReason) {
  EXPECT_EQ(logTextOf([]() -> std::string { throw std::runtime_error("out\nof order"); }),
            "(the text of this message could not be made: out\\x0aof order)");
  EXPECT_EQ(logTextOf([]() -> std::string { throw 1; }),
            "(the text of this message could not be made: unknown exception)");
  EXPECT_EQ(logTextOf(QuillonLogMessage()).substr(0, 10), "(the text ");
}

}  // namespace
}  // namespace quillon
