#include <gtest/gtest.h>

#include "QuillonCore/Runtime/QuillonSystemLog.h"

namespace quillon {
namespace {

TEST(QuillonSystemLogTest, ControlCharactersAreWrittenOutSoThatALineStaysALine) {
  EXPECT_EQ(withControlCharactersEscaped("a\nb\x1B[31m\x7F\tc \u00E9"), "a\\x0ab\\x1b[31m\\x7f\\x09c \u00E9");
}

}  // namespace
}  // namespace quillon
