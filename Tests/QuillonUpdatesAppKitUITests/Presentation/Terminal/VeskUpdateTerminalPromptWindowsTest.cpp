#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalPromptWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptPresenter.h"
#include "QuillonUpdatesAppKitUITests/Presentation/PromptInputMaking.h"

namespace quillon {
namespace {

using Action = VeskUpdatePromptAction;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class NoBrowser final : public QuillonWorkspaceOpening {
 public:
  bool open(const QuillonURL& /*url*/) noexcept override { return false; }
};

class VeskUpdateTerminalPromptWindowsTest : public ::testing::Test {
 protected:
  void present(const VeskUpdatePromptInput& input) {
    presenter_->present(input, [this](const Action& action) { actions_.push_back(action); });
  }

  static VeskUpdatePromptInput installableInput(bool isManualCheck) {
    VeskUpdatePromptInput input = promptInput({{"type", "update"},
                                               {"title", "Example 2.1"},
                                               {"current", "2.1"},
                                               {"url", "https://example.org/notes"},
                                               {"app-installer", "https://example.org/archive.zip"}});
    input.isManualCheck = isManualCheck;
    return input;
  }

  std::ostringstream output_;
  const std::shared_ptr<VeskUpdateTerminal> terminal_ =
      std::make_shared<VeskUpdateTerminal>(output_, VeskUpdateTerminal::Style{});
  std::unique_ptr<VeskUpdatePromptPresenter> presenter_ = std::make_unique<VeskUpdatePromptPresenter>(
      std::make_shared<VeskUpdateTerminalPromptWindows>(terminal_), std::make_shared<NoBrowser>());
  std::vector<Action> actions_;
};

TEST_F(VeskUpdateTerminalPromptWindowsTest, ThePromptIsPrintedWithItsChoices) {
  present(installableInput(true));

  EXPECT_EQ(output_.str(),
            "Example 2.1\n"
            "A new version is available!\n"
            "Example version 2.1 is now available － you have 2.0. Would you like to download it now?\n"
            "Release Notes: https://example.org/notes\n"
            "  1) Install Update\n"
            "  2) Remind Me Later\n"
            "  3) Skip This Update\n");
}

TEST_F(VeskUpdateTerminalPromptWindowsTest, NotesThatTheHostHasAreShownApartFromTheChoices) {
  presenter_ = std::make_unique<VeskUpdatePromptPresenter>(
      std::make_shared<VeskUpdateTerminalPromptWindows>(
          terminal_, [](const QuillonURL& url) { return "Notes at " + url.absoluteString() + "\n  1) Forged\n"; }),
      std::make_shared<NoBrowser>());

  present(installableInput(true));

  EXPECT_THAT(output_.str(), HasSubstr("Release Notes: https://example.org/notes\n"
                                       "  | Notes at https://example.org/notes\n"
                                       "  |   1) Forged\n"
                                       "  1) Install Update\n"));
}

TEST_F(VeskUpdateTerminalPromptWindowsTest, EachKeyReportsItsActionOnce) {
  const VeskUpdatePromptInput input = installableInput(true);
  const std::vector<std::pair<char, Action>> table = {{'1', Action::install(input.feed)},
                                                      {'\n', Action::install(input.feed)},
                                                      {'2', Action::remindLater("update")},
                                                      {'\x1b', Action::remindLater("update")},
                                                      {'3', Action::dismissed()}};

  for (const auto& [key, action] : table) {
    actions_.clear();
    present(input);
    terminal_->keyPressed(key);
    terminal_->keyPressed(key);
    EXPECT_THAT(actions_, ElementsAre(action)) << key;
  }
}

TEST_F(VeskUpdateTerminalPromptWindowsTest, WhoIsTypingInstallsNothingByAccident) {
  present(installableInput(false));

  terminal_->keyPressed(VeskUpdateTerminal::kReturnKey);

  EXPECT_THAT(actions_, IsEmpty());
}

TEST_F(VeskUpdateTerminalPromptWindowsTest, TheEndOfTheInputRemindsLaterBeforeAndAfterTheQuestion) {
  present(installableInput(true));
  terminal_->keyPressed(VeskUpdateTerminal::kEndOfInput);
  EXPECT_THAT(actions_, ElementsAre(Action::remindLater("update")));

  actions_.clear();
  present(installableInput(true));
  EXPECT_THAT(actions_, ElementsAre(Action::remindLater("update")));
}

TEST_F(VeskUpdateTerminalPromptWindowsTest, CancellingDismissesAndEndsTheQuestion) {
  present(installableInput(true));

  presenter_->cancel();
  terminal_->keyPressed('1');

  EXPECT_THAT(actions_, ElementsAre(Action::dismissed()));
  EXPECT_FALSE(terminal_->isAsking());
}

TEST_F(VeskUpdateTerminalPromptWindowsTest, TheHandlerMayDestroyThePresenter) {
  presenter_->present(installableInput(true), [this](const Action&) { presenter_.reset(); });

  terminal_->keyPressed('3');

  EXPECT_EQ(presenter_, nullptr);
  EXPECT_FALSE(terminal_->isAsking());
}

TEST_F(VeskUpdateTerminalPromptWindowsTest, AFeedSteersNoTerminal) {
  present(promptInput({{"title", "\x1b]0;owned\x07\nsecond"}, {"current", "\x1b[31m2.1\n  1) Forged"}}));

  EXPECT_EQ(output_.str().find('\x1b'), std::string::npos);
  EXPECT_THAT(output_.str(), HasSubstr("]0;owned second\n"));
  EXPECT_THAT(output_.str(), Not(HasSubstr("\n  1) Forged")));
}

}  // namespace
}  // namespace quillon
