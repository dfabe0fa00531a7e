// What the prompt's window has its page do, on a view that records it.

#import <AppKit/AppKit.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "QuillonCore/Contracts/QuillonWorkspaceOpening.h"
#include "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitPromptWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptPresenter.h"
#include "QuillonUpdatesAppKitUITests/Presentation/PromptInputMaking.h"
#include "RecordingReleaseNotesView.h"
#include "Support/Apple/RunLoopTurns.h"

namespace quillon {
namespace {

using Action = VeskUpdatePromptAction;
using PageScripts = VeskUpdateAppKitPromptWindows::PageScripts;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::navigateReleaseNotes;
using testing::releaseNotesCalls;

class RecordingBrowser final : public QuillonWorkspaceOpening {
 public:
  bool open(const QuillonURL& url) noexcept override {
    opened.push_back(url.absoluteString());
    if (onOpen) onOpen();
    return true;
  }

  std::vector<std::string> opened;
  std::function<void()> onOpen;
};

class VeskUpdateAppKitPromptPageTest : public ::testing::Test {
 protected:
  VeskUpdateAppKitPromptPageTest() {
    [NSApplication sharedApplication];
    releaseNotesCalls().clear();
  }
  ~VeskUpdateAppKitPromptPageTest() override {
    presenter_.reset();
    testing::runMainRunLoop();
  }

  [[nodiscard]] std::unique_ptr<VeskUpdatePromptPresenter> makePresenter(PageScripts scripts) const {
    return std::make_unique<VeskUpdatePromptPresenter>(std::make_shared<VeskUpdateAppKitPromptWindows>(scripts),
                                                       browser_);
  }
  void cancel() const {
    @autoreleasepool {
      presenter_->cancel();
    }
  }
  void present(const VeskUpdatePromptInput& input) {
    @autoreleasepool {
      presenter_->present(input, [this](const Action& action) { actions_.push_back(action); });
    }
  }
  static VeskUpdatePromptInput inputWithPage() {
    return promptInput({{"current", "2.1"}, {"url", "https://example.org/notes"}});
  }
  static bool activateLink(const std::string& url) {
    return navigateReleaseNotes({.isLinkActivated = true, .url = QuillonURL::parse(url)});
  }

  const std::shared_ptr<RecordingBrowser> browser_ = std::make_shared<RecordingBrowser>();
  std::unique_ptr<VeskUpdatePromptPresenter> presenter_ = makePresenter(PageScripts::denied);
  std::vector<Action> actions_;
};

TEST_F(VeskUpdateAppKitPromptPageTest, TheEntrysPageIsLoadedAndStoppedWithTheWindow) {
  present(inputWithPage());
  EXPECT_THAT(releaseNotesCalls(), ElementsAre("scripts denied", "load https://example.org/notes"));

  releaseNotesCalls().clear();
  cancel();

  EXPECT_THAT(releaseNotesCalls(), ::testing::Contains("stop"));
  EXPECT_FALSE(navigateReleaseNotes({.isLinkActivated = false, .url = QuillonURL::parse("https://example.org/notes")}));
}

TEST_F(VeskUpdateAppKitPromptPageTest, NothingOfAPromptIsKeptOnceTheEventIsDealtWith) {
  present(inputWithPage());
  cancel();
  EXPECT_NE(releaseNotesCalls().back(), "gone");

  testing::runMainRunLoop();

  EXPECT_EQ(releaseNotesCalls().back(), "gone");
}

TEST_F(VeskUpdateAppKitPromptPageTest, WithoutAPageNothingIsLoaded) {
  present(promptInput());

  EXPECT_THAT(releaseNotesCalls(), ElementsAre("scripts denied", "load"));
}

TEST_F(VeskUpdateAppKitPromptPageTest, ScriptsRunWhereTheHostAllowsThem) {
  presenter_ = makePresenter(PageScripts::allowed);

  present(inputWithPage());

  EXPECT_EQ(releaseNotesCalls().front(), "scripts allowed");
}

TEST_F(VeskUpdateAppKitPromptPageTest, AWindowThatWasClosedBeforeItWasShownLoadsNothing) {
  class Delegate final : public VeskUpdatePromptWindowDelegate {
   public:
    void installButtonPressed(const VeskUpdatePromptWindow& /*sender*/) override {}
    void remindLaterButtonPressed(const VeskUpdatePromptWindow& /*sender*/) override {}
    void dismissButtonPressed(const VeskUpdatePromptWindow& /*sender*/) override {}
    void windowWillClose(const VeskUpdatePromptWindow& /*sender*/) override { ++closes; }
    bool shouldNavigate(const VeskUpdatePromptWindow& /*sender*/,
                        const VeskUpdatePromptNavigation& /*navigation*/) override {
      return true;
    }
    int closes = 0;
  };
  Delegate delegate;
  const auto window = VeskUpdateAppKitPromptWindows().makePromptWindow(
      VeskUpdatePromptPresenter::makeContent(inputWithPage()), delegate);

  window->close();
  window->show();
  window->close();

  EXPECT_EQ(delegate.closes, 1);
  EXPECT_THAT(releaseNotesCalls(), ElementsAre("scripts denied", "stop"));
}

TEST_F(VeskUpdateAppKitPromptPageTest, ThePageGoesWhereItGoesByItself) {
  present(inputWithPage());

  EXPECT_TRUE(navigateReleaseNotes({.isLinkActivated = false, .url = QuillonURL::parse("https://example.org/notes")}));
  EXPECT_THAT(browser_->opened, IsEmpty());
}

TEST_F(VeskUpdateAppKitPromptPageTest, ALinkOpensInTheBrowserAndThePromptStays) {
  present(inputWithPage());
  releaseNotesCalls().clear();

  EXPECT_FALSE(activateLink("https://example.org/more"));

  EXPECT_THAT(browser_->opened, ElementsAre("https://example.org/more"));
  EXPECT_THAT(actions_, IsEmpty());
  EXPECT_THAT(releaseNotesCalls(), IsEmpty());
}

TEST_F(VeskUpdateAppKitPromptPageTest, ThePromptMayGoAwayWhileTheBrowserIsOpened) {
  present(inputWithPage());
  browser_->onOpen = [this] { presenter_->cancel(); };

  EXPECT_FALSE(activateLink("https://example.org/more"));

  EXPECT_THAT(actions_, ElementsAre(Action::dismissed()));
}

TEST_F(VeskUpdateAppKitPromptPageTest, ThePresenterMayGoAwayWhileTheBrowserIsOpened) {
  present(inputWithPage());
  browser_->onOpen = [this] { presenter_.reset(); };

  EXPECT_FALSE(activateLink("https://example.org/more"));

  EXPECT_THAT(actions_, IsEmpty());
}

}  // namespace
}  // namespace quillon
