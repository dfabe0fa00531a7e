#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "QuillonTool/Update/UpdateAnswers.h"
#include "Support/ManualMainThread.h"

namespace quillon {
namespace {

class UpdateAnswersTest : public ::testing::Test {
 protected:
  std::shared_ptr<VeskUpdateTerminal::Question> ask() {
    return terminal_->ask({{.keys = "1", .title = "Yes", .action = [this] { answer_ += "yes "; }},
                           {.keys = std::string("2") + VeskUpdateTerminal::kEndOfInput,
                            .title = "No",
                            .action = [this] { answer_ += "no "; }}});
  }

  std::ostringstream output_;
  const std::shared_ptr<VeskUpdateTerminal> terminal_ =
      std::make_shared<VeskUpdateTerminal>(output_, VeskUpdateTerminal::Style{});
  const std::shared_ptr<testing::ManualMainThread> mainThread_ = std::make_shared<testing::ManualMainThread>();
  std::string answer_;
};

TEST_F(UpdateAnswersTest, ConsentMakesTheFirstChoiceOfEveryQuestionOnceItIsAsked) {
  const UpdateAnswers answers(UpdateAnswering::byConsent, terminal_, mainThread_);

  auto question = ask();
  EXPECT_EQ(answer_, "");
  mainThread_->runAll();
  EXPECT_EQ(answer_, "yes ");
  question.reset();
  question = ask();
  mainThread_->runAll();

  EXPECT_EQ(answer_, "yes yes ");
}

TEST_F(UpdateAnswersTest, NobodyMeansThatTheInputHasEnded) {
  const UpdateAnswers answers(UpdateAnswering::byNobody, terminal_, mainThread_);

  EXPECT_TRUE(terminal_->didInputEnd());
}

TEST_F(UpdateAnswersTest, KeysAreLeftToTheUser) {
  const UpdateAnswers answers(UpdateAnswering::byKeys, terminal_, mainThread_);

  const auto question = ask();
  mainThread_->runAll();

  EXPECT_EQ(answer_, "");
  EXPECT_FALSE(terminal_->didInputEnd());
}

TEST_F(UpdateAnswersTest, AfterItsEndNothingIsAnswered) {
  { const UpdateAnswers answers(UpdateAnswering::byConsent, terminal_, mainThread_); }

  const auto question = ask();
  mainThread_->runAll();

  EXPECT_EQ(answer_, "");
}

}  // namespace
}  // namespace quillon
