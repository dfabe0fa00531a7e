#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminal.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Choice = VeskUpdateTerminal::Choice;

class VeskUpdateTerminalTest : public ::testing::Test {
 protected:
  [[nodiscard]] Choice choice(const std::string& keys) {
    return {.keys = keys, .title = "Choice " + keys.substr(0, 1), .action = [this, keys] { chosen_.push_back(keys); }};
  }

  std::ostringstream output_;
  std::vector<std::string> chosen_;
  std::unique_ptr<VeskUpdateTerminal> terminal_ =
      std::make_unique<VeskUpdateTerminal>(output_, VeskUpdateTerminal::Style{.drawsInPlace = true, .columns = 20});
};

TEST_F(VeskUpdateTerminalTest, WhatIsDrawnInPlaceReplacesWhatWasDrawnBefore) {
  terminal_->drawInPlace("10 %");
  terminal_->drawInPlace("10 %");
  terminal_->drawInPlace("20 %");
  terminal_->endDrawing();

  EXPECT_EQ(output_.str(), "\r\x1b[K10 %\r\x1b[K20 %\n");
}

TEST_F(VeskUpdateTerminalTest, ATerminalWithoutColumnsGetsNothingDrawn) {
  VeskUpdateTerminal narrow(output_, {.drawsInPlace = true, .columns = 0});

  narrow.drawInPlace("10 %");

  EXPECT_EQ(output_.str(), "");
}

TEST_F(VeskUpdateTerminalTest, LinesStandAboveWhatIsDrawnInPlace) {
  terminal_->drawInPlace("10 %");
  terminal_->printLines("line");

  EXPECT_EQ(output_.str(), "\r\x1b[K10 %\r\x1b[Kline\n10 %");
}

TEST_F(VeskUpdateTerminalTest, AFileGetsLinesOnly) {
  VeskUpdateTerminal file(output_, {.drawsInPlace = false});

  file.drawInPlace("10 %");
  file.printLines("line");

  EXPECT_EQ(output_.str(), "line\n");
}

TEST_F(VeskUpdateTerminalTest, TextsFromOutsideMoveNoCursor) {
  terminal_->printLines("a\x1b[2J\x07z\r\nb\u202E");
  terminal_->drawInPlace("a\x1b[2Jb\nc");

  EXPECT_EQ(output_.str(), "a[2Jz\nb\n\r\x1b[Ka[2Jb c");
}

TEST_F(VeskUpdateTerminalTest, AnEndedTerminalLeavesACompleteLine) {
  terminal_->drawInPlace("10 %");
  terminal_.reset();

  EXPECT_EQ(output_.str(), "\r\x1b[K10 %\n");
}

TEST_F(VeskUpdateTerminalTest, AKeyMakesTheChoiceThatHasIt) {
  const auto question = terminal_->ask({choice("1\n"), choice("2\x1b")});

  for (const char key : {'3', '1', '\n', '\x1b'}) terminal_->keyPressed(key);

  EXPECT_THAT(chosen_, ElementsAre("1\n", "1\n", "2\x1b"));
  EXPECT_EQ(output_.str(), "  1) Choice 1\n  2) Choice 2\n");
}

TEST_F(VeskUpdateTerminalTest, TheLastQuestionIsAnsweredAndAnEndedOneIsNot) {
  const auto first = terminal_->ask({choice("1a")});
  auto second = terminal_->ask({choice("1b")});

  terminal_->keyPressed('1');
  second.reset();
  terminal_->keyPressed('1');

  EXPECT_THAT(chosen_, ElementsAre("1b", "1a"));
}

TEST_F(VeskUpdateTerminalTest, KeysWithoutAQuestionAreLost) {
  terminal_->keyPressed('1');
  const auto question = terminal_->ask({choice("1")});

  EXPECT_THAT(chosen_, IsEmpty());
}

TEST_F(VeskUpdateTerminalTest, TheEndOfTheInputGoesToEveryQuestion) {
  const auto first = terminal_->ask({choice("1\x04")});
  const auto second = terminal_->ask({choice("2\x04")});
  EXPECT_FALSE(terminal_->didInputEnd());

  terminal_->keyPressed(VeskUpdateTerminal::kEndOfInput);

  EXPECT_THAT(chosen_, ElementsAre("2\x04", "1\x04"));
  EXPECT_TRUE(terminal_->didInputEnd());
}

TEST_F(VeskUpdateTerminalTest, AChoiceMayEndItsQuestionAndTheTerminal) {
  std::shared_ptr<VeskUpdateTerminal::Question> question;
  question = terminal_->ask({{.keys = "1\x04", .title = "End", .action = [&] {
                                question.reset();
                                terminal_.reset();
                              }}});

  terminal_->keyPressed(VeskUpdateTerminal::kEndOfInput);

  EXPECT_EQ(terminal_, nullptr);
}

TEST_F(VeskUpdateTerminalTest, EachQuestionHasANumberOfItsOwnAndTheOneThatIsAnsweredIsTold) {
  EXPECT_EQ(terminal_->questionNumber(), 0U);
  auto first = terminal_->ask({choice("1")});
  const auto numberOfFirst = terminal_->questionNumber();
  auto second = terminal_->ask({choice("1")});
  const auto numberOfSecond = terminal_->questionNumber();
  second.reset();

  EXPECT_EQ(terminal_->questionNumber(), numberOfFirst);
  EXPECT_NE(numberOfSecond, numberOfFirst);
  first.reset();
  EXPECT_EQ(terminal_->questionNumber(), 0U);
  const auto third = terminal_->ask({choice("1")});
  EXPECT_GT(terminal_->questionNumber(), numberOfSecond);
}

TEST_F(VeskUpdateTerminalTest, TheObserverHearsWhenQuestionsBeginAndEnd) {
  std::vector<bool> heard;
  terminal_->setAskingObserver([&](bool isAsking) { heard.push_back(isAsking); });
  auto question = terminal_->ask({choice("1")});
  EXPECT_TRUE(terminal_->isAsking());
  question.reset();

  EXPECT_FALSE(terminal_->isAsking());
  EXPECT_THAT(heard, ElementsAre(false, true, false));
}

TEST(CutToColumnsTest, ATextIsCutWithinItsColumnsAndBetweenItsCharacters) {
  EXPECT_EQ(cutToColumns("12345678", 8), "12345678");
  EXPECT_EQ(cutToColumns("123456789", 8), "12345...");
  EXPECT_EQ(cutToColumns("更新更新更新", 8), "更新...");
  EXPECT_EQ(cutToColumns("1234", 2), "..");
  EXPECT_EQ(cutToColumns("", 0), "");
}

}  // namespace
}  // namespace quillon
