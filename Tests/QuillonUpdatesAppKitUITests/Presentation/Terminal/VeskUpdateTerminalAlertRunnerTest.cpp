#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalAlertRunner.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlertPresenter.h"
#include "QuillonUpdatesAppKitUITests/Presentation/PromptInputMaking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class VeskUpdateTerminalAlertRunnerTest : public ::testing::Test {
 protected:
  std::ostringstream output_;
  /// What the user types.
  std::string keys_;
  std::vector<std::string> opened_;
  const std::shared_ptr<VeskUpdateTerminal> terminal_ =
      std::make_shared<VeskUpdateTerminal>(output_, VeskUpdateTerminal::Style{});
  const VeskUpdateAlertPresenter presenter_{
      [this](const QuillonURL& url) {
        opened_.push_back(url.absoluteString());
        return true;
      },
      std::make_shared<VeskUpdateTerminalAlertRunner>(terminal_, [this](const std::stop_token& stopToken) {
        while (!stopToken.stop_requested() && !keys_.empty()) {
          const char key = keys_.front();
          keys_.erase(0, 1);
          terminal_->keyPressed(key);
        }
      })};

  [[nodiscard]] static VeskUpdateManualCheckCompletionInput completion() {
    return {.shouldShowNoUpdatesFoundDialog = true,
            .updateCheckPerformedOK = true,
            .applicationName = "Example",
            .shouldOfferBetaToggle = true,
            .betaToggleEnabled = true,
            .localizationBundle = englishTexts()};
  }
  void offerManualUpdate() {
    presenter_.presentManualUpdateAlert(*englishTexts(), std::nullopt, *QuillonURL::parse("https://example.org/get"),
                                        VeskUpdateManualUpdateFailurePhase::download);
  }
};

TEST_F(VeskUpdateTerminalAlertRunnerTest, AnAlertIsPrintedWithItsChoicesAndTheCheckboxSwitches) {
  keys_ = "x?1unread";

  const auto result = presenter_.presentManualCheckCompletionAlert(completion());

  EXPECT_EQ(result, (VeskUpdateManualCheckCompletionResult{true, true, false}));
  EXPECT_EQ(keys_, "unread");
  EXPECT_EQ(output_.str(),
            "No Updates Available\nYou are running the current version of Example.\n"
            "  1) OK\n  x) [x] Check for beta releases\n[ ] Check for beta releases\n");
}

TEST_F(VeskUpdateTerminalAlertRunnerTest, OnlyTheFirstButtonOpensTheManualDownload) {
  for (const char* keys : {"2", "\x1b"}) {
    keys_ = keys;
    offerManualUpdate();
  }
  EXPECT_THAT(opened_, IsEmpty());

  keys_ = "\n";
  offerManualUpdate();
  EXPECT_THAT(opened_, ElementsAre("https://example.org/get"));
}

TEST_F(VeskUpdateTerminalAlertRunnerTest, AtTheEndOfTheInputAlertsAreLeftByTheirLastButton) {
  keys_ = std::string(1, VeskUpdateTerminal::kEndOfInput);

  offerManualUpdate();
  offerManualUpdate();

  EXPECT_THAT(opened_, IsEmpty());
  EXPECT_TRUE(keys_.empty());
}

TEST_F(VeskUpdateTerminalAlertRunnerTest, AnAlertThatNobodyAnsweredHasNoPressedButton) {
  offerManualUpdate();

  EXPECT_THAT(opened_, IsEmpty());
  EXPECT_FALSE(terminal_->isAsking());
}

TEST_F(VeskUpdateTerminalAlertRunnerTest, HostileTextsAreHarmless) {
  keys_ = "1";

  presenter_.presentDownloadFailedAlert(*englishTexts(), "<b>\x1b[2J\nsecond line");

  EXPECT_EQ(output_.str(), "Download Failed\n<b>[2J\nsecond line\n  1) OK\n");
}

}  // namespace
}  // namespace quillon
