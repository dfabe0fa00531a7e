#include <gtest/gtest.h>

#include <sstream>

#include "QuillonTool/QuillonToolConsole.h"

namespace quillon {
namespace {

class QuillonToolConsoleTest : public ::testing::Test {
 protected:
  std::istringstream input_;
  std::ostringstream output_;
  std::ostringstream error_;
  QuillonToolConsole console_{input_, output_, error_};
};

TEST_F(QuillonToolConsoleTest, LinesCannotSteerTheTerminal) {
  console_.printLine("a\x1b[2J\nb");
  console_.printLine("\u009B2J");
  console_.printError("c\rd");

  EXPECT_EQ(output_.str(), "a\\x1b[2J\\x0ab\n\\x9b2J\n");
  EXPECT_EQ(error_.str(), "c\\x0dd\n");
}

TEST_F(QuillonToolConsoleTest, TextsKeepTheirLines) {
  console_.printText("one\ntwo\n");

  EXPECT_EQ(output_.str(), "one\ntwo\n");
  EXPECT_TRUE(console_.finish());
}

TEST_F(QuillonToolConsoleTest, ProgressIsWrittenAsItStands) {
  console_.writeToTerminal("\r5 %");

  EXPECT_EQ(error_.str(), "\r5 %");
  EXPECT_FALSE(console_.errorIsTerminal());
  EXPECT_TRUE(QuillonToolConsole(input_, output_, error_, true).errorIsTerminal());
}

TEST_F(QuillonToolConsoleTest, LostOutputIsNoticed) {
  output_.setstate(std::ios::badbit);

  console_.printLine("lost");

  EXPECT_FALSE(console_.finish());
}

}  // namespace
}  // namespace quillon
