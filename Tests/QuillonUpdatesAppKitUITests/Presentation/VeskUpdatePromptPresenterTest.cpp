#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptPresenter.h"
#include "QuillonUpdatesAppKitUITests/Presentation/PromptInputMaking.h"
#include "QuillonUpdatesAppKitUITests/Presentation/RecordingPromptWindow.h"

namespace quillon {
namespace {

using Action = VeskUpdatePromptAction;
using Button = VeskUpdatePromptButton;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RecordingWorkspace final : public QuillonWorkspaceOpening {
 public:
  bool open(const QuillonURL& url) noexcept override {
    opened.push_back(url.absoluteString());
    return true;
  }

  std::vector<std::string> opened;
};

class VeskUpdatePromptPresenterTest : public ::testing::Test {
 protected:
  /// Presents `input` and keeps what is reported.
  void present(const VeskUpdatePromptInput& input = promptInput()) {
    presenter_->present(input, [this](const Action& action) {
      maker_->events->emplace_back("action");
      actions_.push_back(action);
    });
  }

  [[nodiscard]] RecordingPromptWindow& window() const { return *maker_->windows.back(); }

  const std::shared_ptr<RecordingPromptWindowMaker> maker_ = std::make_shared<RecordingPromptWindowMaker>();
  const std::shared_ptr<RecordingWorkspace> workspace_ = std::make_shared<RecordingWorkspace>();
  std::unique_ptr<VeskUpdatePromptPresenter> presenter_ =
      std::make_unique<VeskUpdatePromptPresenter>(maker_, workspace_);
  std::vector<Action> actions_;
};

TEST_F(VeskUpdatePromptPresenterTest, AWindowIsMadeAndShown) {
  present();

  EXPECT_EQ(maker_->windows.size(), 1U);
  EXPECT_THAT(*maker_->events, ElementsAre("show"));
  EXPECT_THAT(actions_, IsEmpty());
}

TEST_F(VeskUpdatePromptPresenterTest, TheInstallButtonReportsTheEntryAndClosesTheWindow) {
  const VeskUpdatePromptInput input = promptInput({{"type", "update"}, {"current", "2.1"}, {"id", "an-id"}});
  present(input);

  window().press(Button::install);

  EXPECT_THAT(actions_, ElementsAre(Action::install(input.feed)));
  EXPECT_THAT(*maker_->events, ElementsAre("show", "action", "close"));
}

TEST_F(VeskUpdatePromptPresenterTest, TheRemindButtonReportsTheTypeOfTheEntryAndClosesTheWindow) {
  present(promptInput({{"type", "news"}, {"current", "2.1"}}));

  window().press(Button::remindLater);

  EXPECT_THAT(actions_, ElementsAre(Action::remindLater("news")));
  EXPECT_THAT(*maker_->events, ElementsAre("show", "action", "close"));
}

TEST_F(VeskUpdatePromptPresenterTest, AnEntryWithoutTypeIsAnUpdateToBeRemindedOf) {
  VeskUpdatePromptInput number = promptInput({});
  number.feed.emplace("type", QuillonPropertyListValue(1));

  for (const VeskUpdatePromptInput& input : {promptInput({}), number}) {
    actions_.clear();
    present(input);
    window().press(Button::remindLater);
    EXPECT_THAT(actions_, ElementsAre(Action::remindLater("update")));
  }
}

TEST_F(VeskUpdatePromptPresenterTest, TheSkipButtonDismissesAndClosesTheWindow) {
  present();

  window().press(Button::dismiss);

  EXPECT_THAT(actions_, ElementsAre(Action::dismissed()));
  EXPECT_THAT(*maker_->events, ElementsAre("show", "action", "close"));
}

TEST_F(VeskUpdatePromptPresenterTest, TheCloseControlDismissesLikeTheSkipButton) {
  present();

  window().pressCloseControl();

  EXPECT_THAT(actions_, ElementsAre(Action::dismissed()));
}

TEST_F(VeskUpdatePromptPresenterTest, CancellingDismissesLikeTheCloseControl) {
  present();

  presenter_->cancel();

  EXPECT_THAT(actions_, ElementsAre(Action::dismissed()));
  EXPECT_TRUE(window().isClosed());
}

TEST_F(VeskUpdatePromptPresenterTest, CancellingWithoutAWindowDoesNothing) {
  presenter_->cancel();
  present();
  window().press(Button::install);
  presenter_->cancel();

  EXPECT_EQ(actions_.size(), 1U);
}

TEST_F(VeskUpdatePromptPresenterTest, AButtonFollowedByTheCloseReportsTheButtonOnly) {
  for (const Button button : {Button::install, Button::remindLater, Button::dismiss}) {
    actions_.clear();
    present();
    window().press(button);
    window().pressCloseControl();
    EXPECT_EQ(actions_.size(), 1U);
  }
}

TEST_F(VeskUpdatePromptPresenterTest, ASecondClickReportsNothing) {
  present();

  window().press(Button::install);
  for (const Button button : {Button::install, Button::remindLater, Button::dismiss}) window().press(button);

  EXPECT_EQ(actions_.size(), 1U);
}

TEST_F(VeskUpdatePromptPresenterTest, AClickWhileTheActionIsHandledReportsNothing) {
  presenter_->present(promptInput(), [this](const Action& action) {
    actions_.push_back(action);
    window().press(Button::dismiss);
  });

  window().press(Button::install);

  EXPECT_EQ(actions_.size(), 1U);
  EXPECT_TRUE(window().isClosed());
}

TEST_F(VeskUpdatePromptPresenterTest, PresentingAgainDismissesTheWindowThatIsUp) {
  present();
  present(promptInput({{"type", "second"}}));

  EXPECT_THAT(actions_, ElementsAre(Action::dismissed()));
  EXPECT_THAT(*maker_->events, ElementsAre("show", "close", "action", "show"));
  maker_->windows.front()->press(Button::install);
  window().press(Button::remindLater);
  EXPECT_THAT(actions_, ElementsAre(Action::dismissed(), Action::remindLater("second")));
}

TEST_F(VeskUpdatePromptPresenterTest, TheHandlerMayPresentAgain) {
  presenter_->present(promptInput(), [this](const Action&) { present(promptInput({{"type", "second"}})); });

  maker_->windows.front()->press(Button::dismiss);

  ASSERT_EQ(maker_->windows.size(), 2U);
  EXPECT_TRUE(maker_->windows.front()->isClosed());
  EXPECT_FALSE(window().isClosed());
  window().press(Button::remindLater);
  EXPECT_THAT(actions_, ElementsAre(Action::remindLater("second")));
}

TEST_F(VeskUpdatePromptPresenterTest, AHandlerThatPresentsWhenItIsDismissedGivesWayToTheWindowThatDismissedIt) {
  presenter_->present(promptInput(), [this](const Action&) { present(promptInput({{"type", "between"}})); });

  present(promptInput({{"type", "last"}}));

  EXPECT_EQ(maker_->windows.size(), 3U);
  window().press(Button::remindLater);
  EXPECT_THAT(actions_, ElementsAre(Action::dismissed(), Action::remindLater("last")));
}

TEST_F(VeskUpdatePromptPresenterTest, TheHandlerMayDestroyThePresenter) {
  for (const bool pressesButton : {true, false}) {
    presenter_ = std::make_unique<VeskUpdatePromptPresenter>(maker_, workspace_);
    int reports = 0;
    presenter_->present(promptInput(), [this, &reports](const Action&) {
      ++reports;
      presenter_.reset();
    });
    const auto shown = maker_->windows.back();
    if (pressesButton) {
      shown->press(Button::install);
    } else {
      shown->pressCloseControl();
    }
    EXPECT_EQ(reports, 1);
    EXPECT_TRUE(shown->isClosed());
  }
}

TEST_F(VeskUpdatePromptPresenterTest, TheHandlerOfAPromptThatGivesWayMayDestroyThePresenter) {
  presenter_->present(promptInput(), [this](const Action&) { presenter_.reset(); });

  present();

  EXPECT_EQ(presenter_, nullptr);
  EXPECT_EQ(maker_->windows.size(), 1U);
  EXPECT_TRUE(window().isClosed());
  EXPECT_THAT(actions_, IsEmpty());
}

TEST_F(VeskUpdatePromptPresenterTest, APresenterThatGoesAwayClosesItsWindowAndReportsNothing) {
  present();

  presenter_.reset();

  EXPECT_TRUE(window().isClosed());
  EXPECT_THAT(actions_, IsEmpty());
}

TEST_F(VeskUpdatePromptPresenterTest, AWindowCanBePresentedWithoutAHandler) {
  presenter_->present(promptInput(), nullptr);
  window().press(Button::install);
  presenter_->present(promptInput(), nullptr);
  window().pressCloseControl();

  EXPECT_TRUE(window().isClosed());
}

TEST_F(VeskUpdatePromptPresenterTest, ALinkOpensInTheBrowserAndNotInTheWindow) {
  present(promptInput({{"url", "https://example.org/notes"}}));

  EXPECT_FALSE(window().navigate({.isLinkActivated = true, .url = QuillonURL::parse("https://example.org/more")}));
  EXPECT_THAT(workspace_->opened, ElementsAre("https://example.org/more"));
  EXPECT_THAT(actions_, IsEmpty());
}

TEST_F(VeskUpdatePromptPresenterTest, TheFirstLoadAndARedirectStayInTheWindow) {
  present(promptInput({{"url", "https://example.org/notes"}}));

  EXPECT_TRUE(window().navigate({.isLinkActivated = false, .url = QuillonURL::parse("https://example.org/notes")}));
  EXPECT_TRUE(window().navigate({.isLinkActivated = false, .url = QuillonURL::parse("https://cdn.example.org/")}));
  EXPECT_THAT(workspace_->opened, IsEmpty());
}

TEST_F(VeskUpdatePromptPresenterTest, ALinkToAProgramOpensNothing) {
  present(promptInput({{"url", "https://example.org/notes"}}));

  EXPECT_FALSE(window().navigate({.isLinkActivated = true, .url = QuillonURL::parse("file:///tmp/Evil.app")}));
  EXPECT_THAT(workspace_->opened, IsEmpty());
}

TEST_F(VeskUpdatePromptPresenterTest, AWindowThatIsClosedGoesNowhere) {
  present();
  window().pressCloseControl();

  EXPECT_FALSE(window().navigate({.isLinkActivated = true, .url = QuillonURL::parse("https://example.org/more")}));
  EXPECT_THAT(workspace_->opened, IsEmpty());
}

TEST_F(VeskUpdatePromptPresenterTest, ExactlyOneActionIsReportedWhateverTheOrderOfClicksAndCloses) {
  std::mt19937 random(20240615);
  const VeskUpdatePromptInput input = promptInput();
  for (int sequence = 0; sequence < 1000; ++sequence) {
    SCOPED_TRACE(sequence);
    actions_.clear();
    present(input);
    RecordingPromptWindow& shown = window();
    std::optional<Action> first;
    const auto length = 1 + random() % 6;
    for (std::mt19937::result_type step = 0; step < length; ++step) {
      Action expected = Action::dismissed();
      switch (random() % 5) {
        case 0:
          shown.press(Button::install);
          expected = Action::install(input.feed);
          break;
        case 1:
          shown.press(Button::remindLater);
          expected = Action::remindLater("update");
          break;
        case 2:
          shown.press(Button::dismiss);
          break;
        case 3:
          shown.pressCloseControl();
          break;
        default:
          presenter_->cancel();
          break;
      }
      if (!first) first = expected;
    }
    ASSERT_EQ(actions_, std::vector<Action>{*first});
    ASSERT_TRUE(shown.isClosed());
    maker_->windows.clear();
  }
}

// What the window shows.

VeskUpdatePromptContent contentOf(const VeskUpdatePromptInput& input) {
  return VeskUpdatePromptPresenter::makeContent(input);
}

VeskUpdatePromptInput installableInput() {
  return promptInput({{"current", "2.1"}, {"app-installer", "https://example.org/Example.zip"}});
}

TEST(VeskUpdatePromptContentTest, HasTheTextsOfTheEntryAndTheApplication) {
  const VeskUpdatePromptContent content =
      contentOf(promptInput({{"title", "News"}, {"current", "2.1"}, {"url", "https://example.org/notes"}}));

  EXPECT_EQ(content.windowTitle, "News");
  EXPECT_EQ(content.headline, "A new version is available!");
  EXPECT_EQ(content.description,
            "Example version 2.1 is now available \uFF0D you have 2.0. Would you like to download it now?");
  EXPECT_EQ(content.logoImageName, "ExampleLogo");
  EXPECT_EQ(content.releaseNotesTitle, "Release Notes:");
  EXPECT_EQ(content.releaseNotesURL, QuillonURL::parse("https://example.org/notes"));
  EXPECT_EQ(content.remindLaterButtonTitle, "Remind Me Later");
  EXPECT_EQ(content.dismissButtonTitle, "Skip This Update");
}

TEST(VeskUpdatePromptContentTest, AnInstallButtonNeedsTheHostsLeaveAndAnArchive) {
  VeskUpdatePromptInput notAllowed = installableInput();
  notAllowed.allowInstallAction = false;

  EXPECT_EQ(contentOf(installableInput()).installButtonTitle, "Install Update");
  EXPECT_EQ(contentOf(promptInput({{"installer", "https://example.org/i.zip"}})).installButtonTitle, "Install Update");
  EXPECT_EQ(contentOf(notAllowed).installButtonTitle, std::nullopt);
  EXPECT_EQ(contentOf(promptInput()).installButtonTitle, std::nullopt);
  EXPECT_EQ(contentOf(promptInput({{"installer", " \n\t"}, {"app-installer", ""}})).installButtonTitle, std::nullopt);
}

TEST(VeskUpdatePromptContentTest, TheReturnKeyAnswersOnlyInAWindowThatTheUserAskedFor) {
  VeskUpdatePromptInput manual = installableInput();
  manual.isManualCheck = true;
  VeskUpdatePromptInput manualWithoutInstallation = manual;
  manualWithoutInstallation.allowInstallAction = false;

  EXPECT_EQ(contentOf(manual).defaultButton, Button::install);
  EXPECT_EQ(contentOf(manualWithoutInstallation).defaultButton, Button::remindLater);
  EXPECT_EQ(contentOf(installableInput()).defaultButton, std::nullopt);
}

TEST(VeskUpdatePromptContentTest, APageThatIsNoPageIsLeftOut) {
  for (const char* const url : {"", "notes.html", "javascript:alert(1)", "x-evil:run", "https://exa mple.org/"}) {
    EXPECT_EQ(contentOf(promptInput({{"url", url}})).releaseNotesURL, std::nullopt) << url;
  }
  EXPECT_EQ(contentOf(promptInput()).releaseNotesURL, std::nullopt);
}

TEST(VeskUpdatePromptContentTest, TextsOfTheButtonsComeFromTheUpdateTextsTable) {
  VeskUpdatePromptInput input = installableInput();
  input.localizationBundle = germanTexts(
      R"("Release Notes:" = "Hinweise:"; "Install Update" = "Installieren"; "Remind Me Later" = "Später";
         "Skip This Update" = "Überspringen";)",
      R"("Release Notes:" = "x"; "Install Update" = "x"; "Remind Me Later" = "x"; "Skip This Update" = "x";)");

  const VeskUpdatePromptContent content = contentOf(input);

  EXPECT_EQ(content.releaseNotesTitle, "Hinweise:");
  EXPECT_EQ(content.installButtonTitle, "Installieren");
  EXPECT_EQ(content.remindLaterButtonTitle, "Später");
  EXPECT_EQ(content.dismissButtonTitle, "Überspringen");
}

TEST(VeskUpdatePromptContentTest, TheWindowHasTheSizeOfTheEntryOrTheDefault) {
  using Size = VeskUpdatePromptWindowSize;

  EXPECT_EQ(contentOf(promptInput({{"size", "{800, 500}"}})).size, (Size{800, 500}));
  EXPECT_EQ(contentOf(promptInput()).size, (Size{700, 600}));
  EXPECT_EQ(contentOf(promptInput({{"size", "{0, 0}"}})).size, (Size{700, 600}));
  EXPECT_EQ(contentOf(promptInput({{"size", "{-1, 9e9}"}})).size, (Size{700, kLargestPromptWindow.height}));
  EXPECT_EQ(contentOf(promptInput({{"size", "garbage"}})).size, (Size{700, 600}));
}

TEST(VeskUpdatePromptContentTest, OnlyAStringOfMoreThanWhiteSpaceIsAValue) {
  FeedDictionary feed = entryOf({{"text", " a "}, {"empty", ""}, {"blank", " \n\t\u2028"}});
  feed.emplace("number", QuillonPropertyListValue(1));

  EXPECT_TRUE(VeskUpdatePromptPresenter::hasNonEmptyStringValue(feed, "text"));
  for (const char* const key : {"empty", "blank", "number", "missing"}) {
    EXPECT_FALSE(VeskUpdatePromptPresenter::hasNonEmptyStringValue(feed, key)) << key;
  }
}

}  // namespace
}  // namespace quillon
