#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <gtkmm/button.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/window.h>
#include <webkit/webkit.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/Presentation/Linux/QuillonGLibMainThread.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKAlertRunner.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKPromptWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKReleaseNotesView.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptPresenter.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Linux/PageServer.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Linux/VirtualDesktop.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Linux/WindowOnScreen.h"
#include "QuillonUpdatesAppKitUITests/Presentation/PromptInputMaking.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace Identifiers = VeskUpdatePromptWindowIdentifiers;
using Action = VeskUpdatePromptAction;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;
using testing::VirtualDesktop;

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

class VeskUpdateGTKPromptWindowsTest : public ::testing::Test {
 protected:
  ~VeskUpdateGTKPromptWindowsTest() override {
    presenter_.reset();
    testing::expectNoWindowIsLeft(desktop_);
  }

  void present(const VeskUpdatePromptInput& input = promptInput()) {
    presenter_->present(input, [this](const Action& action) {
      actions_.push_back(action);
      if (onAction_) onAction_();
    });
    desktop_.serveWhatWaits();
    ASSERT_TRUE(desktop_.waitUntilShown(window()));
  }

  [[nodiscard]] static Gtk::Window& window() { return testing::onlyWindowOnScreen(); }
  [[nodiscard]] static bool isGone() { return testing::windowsOnScreen().empty(); }
  template <typename Type>
  [[nodiscard]] static Type& part(std::string_view identifier) {
    return testing::part<Type>(window(), identifier);
  }
  [[nodiscard]] static std::string text(std::string_view identifier) { return part<Gtk::Label>(identifier).get_text(); }
  [[nodiscard]] static VeskUpdateGTKReleaseNotesView& page() {
    return part<VeskUpdateGTKReleaseNotesView>(Identifiers::releaseNotesView);
  }
  [[nodiscard]] static bool hasInstallButton() {
    return veskUpdateProgressDescendant<Gtk::Button>(window(), Identifiers::installButton) != nullptr;
  }
  void click(std::string_view identifier) { desktop_.click(part<Gtk::Button>(identifier)); }
  [[nodiscard]] bool waitForAction() {
    const bool isThere = desktop_.serveUntil([this] { return !actions_.empty(); });
    desktop_.serveWhatWaits();
    return isThere;
  }

  /// The page of one link is there, and all of it.
  [[nodiscard]] bool waitForPage() {
    return desktop_.serveUntil(
        [] { return !page().showsPlaceholder() && webkit_web_view_is_loading(page().webView()) == FALSE; });
  }
  /// Does to the window what a user or the host can do, and tells what that reports when it comes first.
  Action act(Gtk::Window& shown, std::mt19937::result_type kind, const VeskUpdatePromptInput& input) {
    const auto press = [&](std::string_view identifier) {
      g_signal_emit_by_name(testing::part<Gtk::Button>(shown, identifier).gobj(), "clicked");
    };
    switch (kind) {
      case 0:
        press(Identifiers::installButton);
        return Action::install(input.feed);
      case 1:
        press(Identifiers::remindLaterButton);
        return Action::remindLater("update");
      case 2:
        press(Identifiers::dismissButton);
        return Action::dismissed();
      case 3:
        shown.close();
        return Action::dismissed();
      default:
        presenter_->cancel();
        return Action::dismissed();
    }
  }

  [[nodiscard]] static bool contains(const std::vector<std::string>& texts, std::string_view text) {
    return std::ranges::find(texts, text) != texts.end();
  }
  [[nodiscard]] static int contentWidth() { return window().get_child()->get_width() + 2 * kMargin; }
  [[nodiscard]] static int contentHeight() { return window().get_child()->get_height() + 2 * kMargin; }

  static constexpr int kMargin = 20;
  /// Each takes a window of its own; the thousand is done with recorded windows.
  static constexpr int kRandomSequences = 50;

  static VeskUpdatePromptInput installableInput(bool isManualCheck = true) {
    VeskUpdatePromptInput input =
        promptInput({{"type", "update"}, {"current", "2.1"}, {"app-installer", "https://example.org/archive.zip"}});
    input.isManualCheck = isManualCheck;
    return input;
  }

  VirtualDesktop& desktop_ = VirtualDesktop::shared();
  testing::TemporaryDirectory folder_;
  const std::shared_ptr<RecordingBrowser> browser_ = std::make_shared<RecordingBrowser>();
  std::unique_ptr<VeskUpdatePromptPresenter> presenter_ = std::make_unique<VeskUpdatePromptPresenter>(
      std::make_shared<VeskUpdateGTKPromptWindows>(QuillonURL::fileURL(folder_.path().string())), browser_);
  std::vector<Action> actions_;
  std::function<void()> onAction_;
};

TEST_F(VeskUpdateGTKPromptWindowsTest, TheWindowShowsItsTexts) {
  VeskUpdatePromptInput input = installableInput();
  input.feed.emplace("title", QuillonPropertyListValue(std::string("Example 2.1")));
  present(input);

  EXPECT_EQ(window().get_title(), "Example 2.1");
  EXPECT_EQ(text(Identifiers::titleLabel), "A new version is available!");
  EXPECT_EQ(text(Identifiers::descriptionLabel),
            "Example version 2.1 is now available － you have 2.0. Would you like to download it now?");
  EXPECT_EQ(text(Identifiers::releaseNotesLabel), "Release Notes:");
  EXPECT_TRUE(hasInstallButton());
  EXPECT_TRUE(page().showsPlaceholder());
}

TEST_F(VeskUpdateGTKPromptWindowsTest, AnEntryOfTheRunningVersionWithAHigherBuildIsAStabilityUpdate) {
  present(buildOnlyInput());
  EXPECT_EQ(window().get_title(), "Stability Update Available");
  EXPECT_EQ(text(Identifiers::titleLabel), "Stability Update Available");

  VeskUpdatePromptInput withoutBuild = buildOnlyInput();
  withoutBuild.applicationBuild = 0;
  present(withoutBuild);
  EXPECT_EQ(window().get_title(), "News");
  EXPECT_EQ(text(Identifiers::titleLabel), "A new version is available!");
  EXPECT_THAT(text(Identifiers::descriptionLabel), StartsWith("Example version"));
}

TEST_F(VeskUpdateGTKPromptWindowsTest, EachButtonReportsItsActionAndClosesTheWindow) {
  const VeskUpdatePromptInput input = installableInput();
  const std::vector<std::pair<std::string_view, Action>> table = {
      {Identifiers::installButton, Action::install(input.feed)},
      {Identifiers::remindLaterButton, Action::remindLater("update")},
      {Identifiers::dismissButton, Action::dismissed()}};

  for (const auto& [button, action] : table) {
    actions_.clear();
    present(input);
    click(button);
    EXPECT_TRUE(waitForAction()) << button;
    EXPECT_THAT(actions_, ElementsAre(action));
    EXPECT_TRUE(isGone());
  }
}

TEST_F(VeskUpdateGTKPromptWindowsTest, TheCloseControlDismissesOnce) {
  present();

  window().close();

  EXPECT_TRUE(waitForAction());
  EXPECT_THAT(actions_, ElementsAre(Action::dismissed()));
  EXPECT_TRUE(isGone());
}

TEST_F(VeskUpdateGTKPromptWindowsTest, AClickOnTheCloseControlDismisses) {
  present();
  Gtk::Widget* const control = testing::descendantOfClass(window(), "close");
  ASSERT_NE(control, nullptr);

  desktop_.click(*control);

  EXPECT_TRUE(waitForAction());
  EXPECT_THAT(actions_, ElementsAre(Action::dismissed()));
  EXPECT_TRUE(isGone());
}

TEST_F(VeskUpdateGTKPromptWindowsTest, AButtonFollowedByTheCloseReportsTheButtonOnly) {
  onAction_ = [] { window().close(); };
  present(installableInput());

  click(Identifiers::installButton);

  EXPECT_TRUE(waitForAction());
  ASSERT_EQ(actions_.size(), 1U);
  EXPECT_TRUE(std::holds_alternative<Action::Install>(actions_.front().value));
  EXPECT_TRUE(isGone());
}

TEST_F(VeskUpdateGTKPromptWindowsTest, ExactlyOneActionIsReportedWhateverTheOrderOfClicksAndCloses) {
  std::mt19937 random(20240615);
  const VeskUpdatePromptInput input = installableInput();
  for (int sequence = 0; sequence < kRandomSequences; ++sequence) {
    SCOPED_TRACE(sequence);
    actions_.clear();
    presenter_->present(input, [this](const Action& action) { actions_.push_back(action); });
    // Outlives its end for as long as the toolkit serves nothing.
    Gtk::Window& shown = window();
    std::optional<Action> first;
    const auto length = 1 + random() % 6;
    for (std::mt19937::result_type step = 0; step < length; ++step) {
      const auto kind = random() % 6;
      if (kind == 5) {
        if (!first) desktop_.serveWhatWaits();
        continue;
      }
      const Action expected = act(shown, kind, input);
      if (!first) first = expected;
    }
    if (!first) first = act(shown, 0, input);
    desktop_.serveWhatWaits();
    ASSERT_THAT(actions_, ElementsAre(*first));
    ASSERT_TRUE(isGone());
  }
}

TEST_F(VeskUpdateGTKPromptWindowsTest, EscapeRemindsLater) {
  present();

  desktop_.typeKey("Escape");

  EXPECT_TRUE(waitForAction());
  EXPECT_THAT(actions_, ElementsAre(Action::remindLater("update")));
}

TEST_F(VeskUpdateGTKPromptWindowsTest, TheReturnKeyInstallsWhereTheUserAskedForTheCheck) {
  present(installableInput());

  desktop_.typeKey("Return");

  EXPECT_TRUE(waitForAction());
  EXPECT_TRUE(std::holds_alternative<Action::Install>(actions_.front().value));
}

TEST_F(VeskUpdateGTKPromptWindowsTest, WhoIsTypingInstallsNothingByAccident) {
  present(installableInput(false));

  for (const char* key : {"Return", "space"}) desktop_.typeKey(key);
  desktop_.typeKey("Escape");

  EXPECT_TRUE(waitForAction());
  EXPECT_THAT(actions_, ElementsAre(Action::remindLater("update")));
}

TEST_F(VeskUpdateGTKPromptWindowsTest, TheTabKeyGoesThroughTheButtonsAsTheyStand) {
  present(installableInput());
  std::vector<std::string> order;

  for (int i = 0; i < 4; ++i) {
    const Gtk::Widget* const before = window().get_focus();
    desktop_.typeKey("Tab");
    ASSERT_TRUE(desktop_.serveUntil([&] { return window().get_focus() != before; }));
    order.push_back(window().get_focus()->get_name());
  }

  const auto dismiss = std::ranges::find(order, std::string(Identifiers::dismissButton));
  ASSERT_NE(dismiss, order.end());
  ASSERT_NE(dismiss + 1, order.end());
  EXPECT_EQ(*(dismiss + 1), Identifiers::remindLaterButton);
}

TEST_F(VeskUpdateGTKPromptWindowsTest, ALinkOpensInTheBrowserAndThePromptStays) {
  testing::PageServer server;
  server.answers["/notes"] = {.body = testing::pageOfOneLink("https://example.org/more")};
  present(promptInput({{"current", "2.1"}, {"url", server.address("/notes")}}));
  ASSERT_TRUE(waitForPage());

  ASSERT_TRUE(desktop_.clickUntil(page(), [this] { return !browser_->opened.empty(); }));

  EXPECT_EQ(browser_->opened.front(), "https://example.org/more");
  EXPECT_THAT(actions_, IsEmpty());
  EXPECT_FALSE(page().showsPlaceholder());
}

TEST_F(VeskUpdateGTKPromptWindowsTest, AFileIsNotReachedFromARemotePage) {
  testing::PageServer server;
  testing::writeFile(folder_ / "secret.html", "<title>Secret</title><img src='" + server.address("/reached") + "'>");
  const std::string secret = QuillonURL::fileURL((folder_ / "secret.html").string()).absoluteString();
  server.answers["/notes"] = {.body = "<title>Notes</title><meta http-equiv=refresh content='0;url=" + secret +
                                      "'><iframe src='" + secret + "'></iframe><img src='" + secret +
                                      "'><iframe src='/first'></iframe>"};
  // By the time that a frame has moved on twice, the page has done all that it does.
  server.answers["/first"] = {.body = "<meta http-equiv=refresh content='0;url=/second'>"};
  server.answers["/second"] = {.body = "<meta http-equiv=refresh content='0;url=/last'>"};
  server.answers["/last"] = {.body = ""};

  present(promptInput({{"current", "2.1"}, {"url", server.address("/notes")}}));

  EXPECT_TRUE(desktop_.serveUntil([&] { return contains(server.requests, "/last"); }));
  EXPECT_THAT(server.requests, Not(Contains("/reached")));
  EXPECT_STREQ(webkit_web_view_get_title(page().webView()), "Notes");
  EXPECT_THAT(browser_->opened, IsEmpty());

  // A file that is reached tells the server.
  present(promptInput({{"current", "2.1"}, {"url", secret}}));
  EXPECT_TRUE(desktop_.serveUntil([&] { return contains(server.requests, "/reached"); }));
}

TEST_F(VeskUpdateGTKPromptWindowsTest, APageOfAFileIsShown) {
  testing::writeFile(folder_ / "notes.html", "<title>Notes</title>");
  const std::string notes = QuillonURL::fileURL((folder_ / "notes.html").string()).absoluteString();

  present(promptInput({{"current", "2.1"}, {"url", notes}}));

  EXPECT_TRUE(desktop_.serveUntil([] { return !page().showsPlaceholder(); }));
}

TEST_F(VeskUpdateGTKPromptWindowsTest, ThePromptMayGoAwayWhileTheBrowserIsOpened) {
  testing::PageServer server;
  server.answers["/notes"] = {.body = testing::pageOfOneLink("https://example.org/more")};
  present(promptInput({{"current", "2.1"}, {"url", server.address("/notes")}}));
  ASSERT_TRUE(waitForPage());
  browser_->onOpen = [this] { presenter_->cancel(); };

  EXPECT_TRUE(desktop_.clickUntil(page(), [this] { return !actions_.empty(); }));
  desktop_.serveWhatWaits();
  EXPECT_THAT(actions_, ElementsAre(Action::dismissed()));
  EXPECT_TRUE(isGone());
}

TEST_F(VeskUpdateGTKPromptWindowsTest, ThePresenterMayGoAwayWhileTheBrowserIsOpened) {
  testing::PageServer server;
  server.answers["/notes"] = {.body = testing::pageOfOneLink("https://example.org/more")};
  present(promptInput({{"current", "2.1"}, {"url", server.address("/notes")}}));
  ASSERT_TRUE(waitForPage());
  browser_->onOpen = [this] { presenter_.reset(); };

  EXPECT_TRUE(desktop_.clickUntil(page(), [this] { return presenter_ == nullptr; }));
  desktop_.serveWhatWaits();
  EXPECT_TRUE(isGone());
  EXPECT_THAT(actions_, IsEmpty());
}

TEST_F(VeskUpdateGTKPromptWindowsTest, APromptWhosePageNeverComesIsAnsweredAsAnyOther) {
  testing::PageServer server;
  server.answers["/never"] = {.body = "", .isNever = true};
  present(promptInput({{"type", "update"}, {"current", "2.1"}, {"url", server.address("/never")}}));
  ASSERT_TRUE(desktop_.serveUntil([&] { return !server.requests.empty(); }));
  EXPECT_TRUE(page().showsPlaceholder());

  click(Identifiers::remindLaterButton);

  EXPECT_TRUE(waitForAction());
  EXPECT_THAT(actions_, ElementsAre(Action::remindLater("update")));
}

TEST_F(VeskUpdateGTKPromptWindowsTest, APageThatIsRedirectedToAnotherSchemeIsNotShownAndOpensNothing) {
  for (const char* target : {"x-evil:run", "data:text/html,evil", "javascript:alert(1)", "about:blank#evil"}) {
    testing::PageServer server;
    server.answers["/moved"] = {.body = "", .status = 302, .location = target};
    present(promptInput({{"current", "2.1"}, {"url", server.address("/moved")}}));
    EXPECT_TRUE(desktop_.serveUntil(
        [&] { return !server.requests.empty() && webkit_web_view_is_loading(page().webView()) == FALSE; }));
    EXPECT_TRUE(page().showsPlaceholder()) << target;
    EXPECT_THAT(browser_->opened, IsEmpty()) << target;
    presenter_->cancel();
  }
}

TEST_F(VeskUpdateGTKPromptWindowsTest, APageWithScriptsThatMisbehavesChangesNothingInTheWindow) {
  testing::PageServer server;
  server.answers["/notes"] = {.body = R"(<title>Evil</title><script>
    const denied = [];
    const ask = (name, promise) => promise.then(() => denied.push(name + ' granted'), () => denied.push(name));
    window.open('/popup'); window.open('x-evil:run'); window.close();
    window.moveTo(0, 0); window.resizeTo(1, 1);
    alert('x'); confirm('y'); prompt('z'); print();
    location.href = 'x-evil:run';
    document.documentElement.requestFullscreen?.();
    Promise.all([
      ask('place', new Promise((yes, no) => navigator.geolocation.getCurrentPosition(yes, no))),
      ask('clipboard', Promise.resolve(document.execCommand('paste')).then(did => did || Promise.reject())),
      ask('messages', Promise.resolve(window.Notification ? Notification.requestPermission() : 'denied').then(
          answer => answer === 'granted' || Promise.reject())),
      ask('camera', navigator.mediaDevices ? navigator.mediaDevices.getUserMedia({video: true}) : Promise.reject()),
    ]).then(() => { document.title = 'Denied: ' + denied.sort().join(', '); });
  </script>)"};
  presenter_ = std::make_unique<VeskUpdatePromptPresenter>(
      std::make_shared<VeskUpdateGTKPromptWindows>(QuillonURL::fileURL("/nonexistent"),
                                                   VeskUpdateGTKPromptWindows::PageScripts::allowed),
      browser_);

  present(promptInput({{"title", "News"}, {"current", "2.1"}, {"url", server.address("/notes")}}));

  const auto pageTitle = [] {
    const char* const title = webkit_web_view_get_title(page().webView());
    return std::string(title == nullptr ? "" : title);
  };
  ASSERT_TRUE(desktop_.serveUntil([&] { return pageTitle().starts_with("Denied"); }));
  EXPECT_EQ(pageTitle(), "Denied: camera, clipboard, messages, place");
  EXPECT_EQ(testing::windowsOnScreen().size(), 1U);
  EXPECT_EQ(window().get_title(), "News");
  EXPECT_EQ(contentWidth(), 700);
  EXPECT_FALSE(window().is_fullscreen());
  EXPECT_EQ(text(Identifiers::titleLabel), "A new version is available!");
  EXPECT_THAT(browser_->opened, IsEmpty());
  EXPECT_THAT(server.requests, Not(Contains("/popup")));
  EXPECT_THAT(actions_, IsEmpty());
}

TEST_F(VeskUpdateGTKPromptWindowsTest, TheHandlerMayRunAnAlertWhenThePresenterIsGone) {
  // The alert serves the toolkit while the click that led to it is still being handled.
  QuillonGLibMainThread mainThread;
  VeskUpdateAlert alert;
  alert.buttons = {"OK"};
  bool didAnswer = false;
  onAction_ = [&] {
    presenter_.reset();
    mainThread.post([this] {
      ASSERT_TRUE(desktop_.waitUntilShown(window()));
      desktop_.typeKey("Return");
    });
    didAnswer = VeskUpdateGTKAlertRunner().run(alert).pressedButton == std::optional<std::size_t>(0);
  };
  present(installableInput());

  click(Identifiers::installButton);

  EXPECT_TRUE(desktop_.serveUntil([&] { return didAnswer; }));
  EXPECT_TRUE(isGone());
}

TEST_F(VeskUpdateGTKPromptWindowsTest, TheHandlerMayDestroyThePresenterInAnyCallback) {
  const std::vector<std::function<void()>> endings = {
      [this] { click(Identifiers::installButton); }, [this] { click(Identifiers::dismissButton); },
      [this] { desktop_.typeKey("Escape"); }, [] { window().close(); }, [this] { presenter_->cancel(); }};

  for (const auto& ending : endings) {
    presenter_ = std::make_unique<VeskUpdatePromptPresenter>(
        std::make_shared<VeskUpdateGTKPromptWindows>(QuillonURL::fileURL("/nonexistent")), browser_);
    actions_.clear();
    onAction_ = [this] { presenter_.reset(); };
    present(installableInput());
    ending();
    EXPECT_TRUE(waitForAction());
    EXPECT_EQ(actions_.size(), 1U);
    EXPECT_TRUE(isGone());
  }
}

TEST_F(VeskUpdateGTKPromptWindowsTest, AnySizeThatAnEntryAsksForGivesAUsableWindow) {
  for (const char* size : {"{0, 0}", "{-1, 9e9}", "garbage", "{nan, inf}", "{1e400, 1}", "{520, 480}"}) {
    present(promptInput({{"current", "2.1"}, {"size", size}}));
    EXPECT_GE(contentWidth(), 400) << size;
    EXPECT_LE(contentWidth(), 1600) << size;
    EXPECT_GE(contentHeight(), 300) << size;
    EXPECT_LE(contentHeight(), 1200) << size;
    EXPECT_GE(page().get_height(), 80) << size;
  }
  EXPECT_EQ(contentWidth(), 520);
}

TEST_F(VeskUpdateGTKPromptWindowsTest, HostileTextsAreShownAsTextAndLeaveRoomForTheButtons) {
  const std::string tenThousand(10'000, 'W');
  for (const std::string& hostile : {std::string("<b>bold</b>\n&amp; \x1b[31m_x"), tenThousand}) {
    VeskUpdatePromptInput input = installableInput();
    input.feed.insert_or_assign("title", QuillonPropertyListValue(hostile));
    input.feed.insert_or_assign("current", QuillonPropertyListValue(hostile));
    input.applicationName = hostile;
    present(input);
    EXPECT_EQ(contentWidth(), 700);
    EXPECT_LE(testing::rightEdge(part<Gtk::Button>(Identifiers::installButton), window()),
              window().get_width() - kMargin);
  }
  present(promptInput({{"current", "<i>2.1</i> &amp;"}, {"title", "<b>bold</b>\n&amp;"}}));
  EXPECT_EQ(window().get_title(), "<b>bold</b> &amp;");
  EXPECT_THAT(text(Identifiers::descriptionLabel), StartsWith("Example version <i>2.1</i> &amp; is now available"));
}

TEST_F(VeskUpdateGTKPromptWindowsTest, AtTwiceTheTextSizeNoTextIsCutOff) {
  const testing::TextSize twice(2.0);
  present(installableInput());

  for (const std::string_view label : {Identifiers::titleLabel, Identifiers::descriptionLabel}) {
    EXPECT_FALSE(pango_layout_is_ellipsized(gtk_label_get_layout(part<Gtk::Label>(label).gobj()))) << label;
  }
}

TEST_F(VeskUpdateGTKPromptWindowsTest, InARightToLeftLanguageTheButtonsAreMirrored) {
  const testing::RightToLeft rightToLeft;
  present(installableInput());

  EXPECT_LT(testing::rightEdge(part<Gtk::Button>(Identifiers::installButton), window()),
            testing::rightEdge(part<Gtk::Button>(Identifiers::dismissButton), window()));
}

TEST_F(VeskUpdateGTKPromptWindowsTest, TextsAreLightOnADarkDesktop) {
  present(installableInput());
  EXPECT_LT(testing::brightness(part<Gtk::Label>(Identifiers::descriptionLabel)), 0.4);

  const testing::DarkDesktop dark;

  EXPECT_TRUE(
      desktop_.serveUntil([] { return testing::brightness(part<Gtk::Label>(Identifiers::descriptionLabel)) > 0.6; }));
}

TEST_F(VeskUpdateGTKPromptWindowsTest, TheApplicationsImageIsShownWhereThereIsOne) {
  testing::writeFile(
      folder_ / "Logo.svg",
      R"(<svg xmlns="http://www.w3.org/2000/svg" width="8" height="8"><rect width="8" height="8"/></svg>)");
  VeskUpdatePromptInput input = promptInput();
  input.applicationLogoImageName = "Logo";
  present(input);
  EXPECT_TRUE(part<Gtk::Image>(Identifiers::logoImage).get_visible());

  present();
  EXPECT_FALSE(part<Gtk::Image>(Identifiers::logoImage).get_visible());
}

TEST_F(VeskUpdateGTKPromptWindowsTest, AssistiveTechnologiesFindThePartsAndPressAButton) {
  VeskUpdatePromptInput input = installableInput();
  input.feed.emplace("title", QuillonPropertyListValue(std::string("Example 2.1")));
  present(input);

  const std::vector<std::string> parts = desktop_.accessibleParts();
  EXPECT_THAT(parts, Contains(StartsWith("label\tA new version is available!")));
  for (const char* button : {"Install Update", "Remind Me Later", "Skip This Update"}) {
    EXPECT_THAT(parts, Contains(StartsWith("push button\t" + std::string(button))));
  }
  EXPECT_THAT(parts,
              Contains("dialog\tExample 2.1\t\tExample version 2.1 is now available － you have 2.0. Would you like "
                       "to download it now?"));
  for (const char* role : {"label", "image", "document text"}) {
    EXPECT_THAT(parts, Contains(std::string(role) + "\tRelease Notes:\t\t"));
  }
  EXPECT_THAT(parts, Not(Contains(::testing::AllOf(StartsWith("image"), Not(HasSubstr("Release Notes:"))))));
  ASSERT_TRUE(desktop_.pressThroughAccessibility("Skip This Update"));

  EXPECT_TRUE(waitForAction());
  EXPECT_THAT(actions_, ElementsAre(Action::dismissed()));
}

}  // namespace
}  // namespace quillon
