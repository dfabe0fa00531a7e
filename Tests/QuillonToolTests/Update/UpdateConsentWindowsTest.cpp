#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "QuillonTool/Update/UpdateConsentWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalProgressWindows.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class UpdateConsentWindowsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    window_ = windows_.makeProgressWindow("Example Update");
    window_->configureProgressContent();
    window_->setTitleText("Ready to Install");
    window_->show();
  }
  void ask() {
    window_->showActionButton("Install and Relaunch", [this] { answers_.emplace_back("install"); });
  }

  std::ostringstream output_;
  const std::shared_ptr<VeskUpdateTerminal> terminal_ =
      std::make_shared<VeskUpdateTerminal>(output_, VeskUpdateTerminal::Style{});
  std::vector<std::string> answers_;
  UpdateConsentWindows windows_{std::make_shared<VeskUpdateTerminalProgressWindows>(terminal_, [] { return 0; }),
                                terminal_, "Cancel", [this] { answers_.emplace_back("decline"); }};
  std::shared_ptr<VeskUpdateProgressWindow> window_;
};

TEST_F(UpdateConsentWindowsTest, TheButtonIsAQuestionWithTwoAnswers) {
  ask();

  EXPECT_EQ(output_.str(), "Example Update\nReady to Install\n  1) Install and Relaunch\n  2) Cancel\n");
  EXPECT_THAT(answers_, IsEmpty());
}

TEST_F(UpdateConsentWindowsTest, EachKeyAnswersOnce) {
  const std::vector<std::pair<char, std::string>> table = {
      {'1', "install"}, {'\n', "install"}, {'2', "decline"}, {'\x1b', "decline"}};

  for (const auto& [key, answer] : table) {
    answers_.clear();
    ask();
    terminal_->keyPressed(key);
    terminal_->keyPressed(key);
    EXPECT_THAT(answers_, ElementsAre(answer)) << static_cast<int>(key);
  }
}

TEST_F(UpdateConsentWindowsTest, NobodyConsentsWhenTheInputEnds) {
  ask();
  terminal_->keyPressed(VeskUpdateTerminal::kEndOfInput);
  EXPECT_THAT(answers_, ElementsAre("decline"));

  answers_.clear();
  ask();
  EXPECT_THAT(answers_, ElementsAre("decline"));
}

TEST_F(UpdateConsentWindowsTest, AWithdrawnOrClosedQuestionIsNotAnswered) {
  ask();
  window_->hideAndDisableActionButton();
  terminal_->keyPressed('1');
  ask();
  window_->close();
  terminal_->keyPressed('1');

  EXPECT_THAT(answers_, IsEmpty());
}

TEST_F(UpdateConsentWindowsTest, ProgressIsShownByTheWindowInside) {
  window_->setTitleText("Downloading update…");
  window_->setStatusText("1 MB of 2 MB");
  window_->setStatusHidden(false);
  window_->showDeterminateProgress(0.5);

  EXPECT_TRUE(window_->hasProgressContent());
  EXPECT_THAT(output_.str(), ::testing::EndsWith("Downloading update…  50 %  1 MB of 2 MB\n"));
}

}  // namespace
}  // namespace quillon
