#include <gtest/gtest.h>

#include <string>

#include "QuillonCore/Runtime/QuillonSystemLog.h"

namespace quillon {
namespace {

TEST(QuillonSystemLogTest, ControlCharactersAreWrittenOutSoThatALineStaysALine) {
  EXPECT_EQ(withControlCharactersEscaped("a\nb\x1B[31m\x7F\tc \u00E9"), "a\\x0ab\\x1b[31m\\x7f\\x09c \u00E9");
}

TEST(QuillonSystemLogTest, ControlCharactersBeyondASCIIAreWrittenOutToo) {
  EXPECT_EQ(withControlCharactersEscaped("\u009B2J \u202Egpj \x9B"), "\\x9b2J \\u202egpj \\x9b");
}

TEST(QuillonSystemLogTest, LongLinesStayWhole) {
  const std::string line(10'000, 'a');

  EXPECT_EQ(withControlCharactersEscaped(line), line);
}

}  // namespace
}  // namespace quillon
