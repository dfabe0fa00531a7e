#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalProgressWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowPresenter.h"
#include "QuillonUpdatesAppKitUITests/Presentation/PromptInputMaking.h"

namespace quillon {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

class VeskUpdateTerminalProgressWindowsTest : public ::testing::Test {
 protected:
  void show(bool drawsInPlace, std::size_t columns = 100) {
    terminal_ = std::make_shared<VeskUpdateTerminal>(
        output_, VeskUpdateTerminal::Style{.drawsInPlace = drawsInPlace, .columns = columns});
    presenter_ = std::make_unique<VeskUpdateProgressWindowPresenter>(
        std::make_shared<VeskUpdateTerminalProgressWindows>(
            terminal_, [this] { return now_; }, [this] { ++unanswered_; }),
        makeSystemFileManager(), QuillonURL::fileURL("/nonexistent"), englishTexts());
    window_ = presenter_->showProgressWindow("Downloading", "Example Update");
    takeOutput();
  }
  void update(const VeskUpdateProgressWindowState& state) { presenter_->updateProgressWindow(window_, state); }
  std::string takeOutput() {
    std::string text = output_.str();
    output_.str("");
    return text;
  }

  std::ostringstream output_;
  std::uint64_t now_ = 0;
  int unanswered_ = 0;
  std::shared_ptr<VeskUpdateTerminal> terminal_;
  std::unique_ptr<VeskUpdateProgressWindowPresenter> presenter_;
  std::shared_ptr<VeskUpdateProgressWindow> window_;
};

TEST_F(VeskUpdateTerminalProgressWindowsTest, TheBarIsDrawnInPlaceWithSizesAndSpeed) {
  show(true);

  update({.title = "Downloading", .statusText = "1 MB of 4 MB", .progressFraction = 0.25});
  EXPECT_EQ(takeOutput(), "\r\x1b[KDownloading  [######..................] 25 %  1 MB of 4 MB");

  now_ = 2'000'000'000;
  update({.title = "Downloading", .statusText = "2 MB of 4 MB", .progressFraction = 0.5});
  EXPECT_EQ(takeOutput(), "\r\x1b[KDownloading  [############............] 50 % (13 %/s)  2 MB of 4 MB");
}

TEST_F(VeskUpdateTerminalProgressWindowsTest, TheBarTakesWhatTheTextsLeaveOfTheLine) {
  const VeskUpdateProgressWindowState state{
      .title = "Downloading", .statusText = "1 MB of 4 MB", .progressFraction = 0.5};
  show(true, 44);
  update(state);
  EXPECT_EQ(takeOutput(), "\r\x1b[KDownloading  [####.....] 50 %  1 MB of 4 MB");

  show(true, 40);
  update(state);
  EXPECT_EQ(takeOutput(), "\r\x1b[KDownloading  50 %  1 MB of 4 MB");
}

TEST_F(VeskUpdateTerminalProgressWindowsTest, AFractionAboveOneIsAFullBarAndAnAbsentOneNone) {
  show(true);

  update({.title = "Downloading", .progressFraction = 1.3});
  EXPECT_THAT(takeOutput(), EndsWith("[########################] 100 %"));
  update({.title = "Downloading"});
  EXPECT_THAT(takeOutput(), EndsWith("Downloading"));
}

TEST_F(VeskUpdateTerminalProgressWindowsTest, AStepThatIsOverStaysAsALine) {
  show(true);
  update({.title = "Downloading", .progressFraction = 1.0});
  takeOutput();

  update({.title = "Extracting"});

  EXPECT_EQ(takeOutput(), "\n\r\x1b[KExtracting");
}

TEST_F(VeskUpdateTerminalProgressWindowsTest, AFileGetsALineForEachStepAndEachTenth) {
  show(false);

  for (int percent = 0; percent <= 25; ++percent) {
    update({.title = "Downloading", .statusText = "some", .progressFraction = percent / 100.0});
  }
  update({.title = "Extracting"});
  update({.title = "Extracting"});

  EXPECT_EQ(takeOutput(), "Downloading  10 %  some\nDownloading  20 %  some\nExtracting\n");
}

TEST_F(VeskUpdateTerminalProgressWindowsTest, OfAFileTheLinesOfATextAreNoLinesOfTheirOwn) {
  show(false);

  update({.title = "Down\nloading", .statusText = "so\nme", .progressFraction = 0.25});

  EXPECT_EQ(takeOutput(), "Down loading  25 %  so me\n");
}

TEST_F(VeskUpdateTerminalProgressWindowsTest, TheButtonIsAQuestionThatIsAnsweredOnce) {
  int presses = 0;
  show(true);
  presenter_->showReadyToInstallAndRelaunch(window_, "Ready to Install", "Install and Relaunch", [&] { ++presses; });
  EXPECT_THAT(takeOutput(), EndsWith("\n  1) Install and Relaunch\n"));

  terminal_->keyPressed('1');
  terminal_->keyPressed('1');

  EXPECT_EQ(presses, 1);
}

TEST_F(VeskUpdateTerminalProgressWindowsTest, AStateChangeWithdrawsTheQuestion) {
  int presses = 0;
  show(true);
  presenter_->showReadyToInstallAndRelaunch(window_, "Ready to Install", "Install and Relaunch", [&] { ++presses; });

  update({.title = "Preparing"});
  terminal_->keyPressed('\n');

  EXPECT_EQ(presses, 0);
}

TEST_F(VeskUpdateTerminalProgressWindowsTest, TheHostHearsWhenNobodyCanConfirm) {
  int presses = 0;
  show(false);
  presenter_->showReadyToInstallAndRelaunch(window_, "Ready to Install", "Install and Relaunch", [&] { ++presses; });
  EXPECT_EQ(unanswered_, 0);

  terminal_->keyPressed(VeskUpdateTerminal::kEndOfInput);
  EXPECT_EQ(unanswered_, 1);
  presenter_->showReadyToInstallAndRelaunch(window_, "Ready to Install", "Install and Relaunch", [&] { ++presses; });
  EXPECT_EQ(unanswered_, 2);

  terminal_->keyPressed('1');
  EXPECT_EQ(presses, 0);
}

TEST_F(VeskUpdateTerminalProgressWindowsTest, TheActionMayDestroyTheWindow) {
  show(true);
  presenter_->showReadyToInstallAndRelaunch(window_, "Ready", "Install", [&] { window_.reset(); });

  terminal_->keyPressed('\n');

  EXPECT_EQ(window_, nullptr);
}

TEST_F(VeskUpdateTerminalProgressWindowsTest, AClosedWindowShowsNothingMore) {
  show(true);
  presenter_->hideProgressWindow(window_);
  takeOutput();

  update({.title = "late", .progressFraction = 0.5});
  presenter_->hideProgressWindow(window_);

  EXPECT_EQ(takeOutput(), "");
}

TEST_F(VeskUpdateTerminalProgressWindowsTest, HostileTextsAreCutAndMoveNoCursor) {
  show(true);

  update({.title = "\x1b[2J" + std::string(10'000, 'W'), .statusText = "\x1b[1mx"});

  const std::string drawn = takeOutput();
  EXPECT_EQ(drawn.find("\x1b[2J"), std::string::npos);
  EXPECT_LT(drawn.size(), 120U);
}

}  // namespace
}  // namespace quillon
