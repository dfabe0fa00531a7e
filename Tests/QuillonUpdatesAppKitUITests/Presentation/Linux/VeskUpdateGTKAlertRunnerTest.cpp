#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <gtkmm/button.h>
#include <gtkmm/checkbutton.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/textview.h>
#include <gtkmm/window.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "QuillonUpdatesAppKitUI/Presentation/Linux/QuillonGLibMainThread.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKAlertRunner.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlertPresenter.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Linux/VirtualDesktop.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Linux/WindowOnScreen.h"
#include "QuillonUpdatesAppKitUITests/Presentation/PromptInputMaking.h"

namespace quillon {
namespace {

namespace Identifiers = VeskUpdateAlertIdentifiers;
using Phase = VeskUpdateManualUpdateFailurePhase;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;
using testing::VirtualDesktop;

class VeskUpdateGTKAlertRunnerTest : public ::testing::Test {
 protected:
  ~VeskUpdateGTKAlertRunnerTest() override { testing::expectNoWindowIsLeft(desktop_); }

  /// Does `what` while the next alert is up, which is before run() or a presentation returns.
  void whileAlertIsUp(std::function<void()> what) {
    mainThread_.post([this, what = std::move(what)] {
      ASSERT_TRUE(desktop_.serveUntil([] { return !testing::windowsOnScreen().empty(); }));
      ASSERT_TRUE(desktop_.waitUntilShown(window()));
      what();
    });
  }
  void clickWhileUp(std::size_t index) {
    whileAlertIsUp([this, index] { desktop_.click(button(index)); });
  }

  [[nodiscard]] static Gtk::Window& window() { return testing::onlyWindowOnScreen(); }
  [[nodiscard]] static std::string text(std::string_view identifier) {
    return testing::part<Gtk::Label>(window(), identifier).get_text();
  }
  [[nodiscard]] static std::string buttonIdentifier(std::size_t index) {
    return std::string(Identifiers::button).append(std::to_string(index));
  }
  [[nodiscard]] static Gtk::Button& button(std::size_t index) {
    return testing::part<Gtk::Button>(window(), buttonIdentifier(index));
  }
  [[nodiscard]] static Gtk::CheckButton* checkbox() {
    return veskUpdateProgressDescendant<Gtk::CheckButton>(window(), Identifiers::suppressionCheckbox);
  }

  [[nodiscard]] static VeskUpdateManualCheckCompletionInput completion(bool isOK, bool offersBetas) {
    return {.shouldShowNoUpdatesFoundDialog = true,
            .updateCheckPerformedOK = isOK,
            .applicationName = "Example",
            .shouldOfferBetaToggle = offersBetas,
            .betaToggleEnabled = true,
            .localizationBundle = englishTexts()};
  }

  VirtualDesktop& desktop_ = VirtualDesktop::shared();
  QuillonGLibMainThread mainThread_;
  VeskUpdateGTKAlertRunner runner_;
  std::vector<std::string> opened_;
  VeskUpdateAlertPresenter presenter_{[this](const QuillonURL& url) {
                                        opened_.push_back(url.absoluteString());
                                        return true;
                                      },
                                      std::make_shared<VeskUpdateGTKAlertRunner>()};
};

TEST_F(VeskUpdateGTKAlertRunnerTest, TheEndOfACheckShowsItsTextsAndTheCheckbox) {
  std::string title;
  std::string body;
  std::string betas;
  whileAlertIsUp([&] {
    title = text(Identifiers::titleLabel);
    body = text(Identifiers::bodyLabel);
    betas = testing::descendantOfType<Gtk::Label>(*checkbox())->get_text();
    EXPECT_TRUE(checkbox()->get_active());
    EXPECT_TRUE(window().get_modal());
    desktop_.click(button(0));
  });

  const auto result = presenter_.presentManualCheckCompletionAlert(completion(true, true));

  EXPECT_EQ(title, "No Updates Available");
  EXPECT_EQ(body, "You are running the current version of Example.");
  EXPECT_EQ(betas, "Check for beta releases");
  EXPECT_EQ(result, (VeskUpdateManualCheckCompletionResult{true, true, true}));
  EXPECT_TRUE(testing::windowsOnScreen().empty());
}

TEST_F(VeskUpdateGTKAlertRunnerTest, TheCheckboxIsReadWhenTheAlertCloses) {
  whileAlertIsUp([this] {
    desktop_.click(*checkbox());
    ASSERT_TRUE(desktop_.serveUntil([] { return !checkbox()->get_active(); }));
    desktop_.click(button(0));
  });

  const auto result = presenter_.presentManualCheckCompletionAlert(completion(true, true));

  EXPECT_EQ(result.selectedBetaToggleState, std::optional(false));
}

TEST_F(VeskUpdateGTKAlertRunnerTest, AFailedCheckOffersNoCheckboxAndReportsNoState) {
  whileAlertIsUp([this] {
    EXPECT_EQ(checkbox(), nullptr);
    EXPECT_EQ(text(Identifiers::titleLabel), "Unable to Check For Updates");
    desktop_.click(button(0));
  });

  const auto result = presenter_.presentManualCheckCompletionAlert(completion(false, true));

  EXPECT_EQ(result, (VeskUpdateManualCheckCompletionResult{true, true, std::nullopt}));
}

TEST_F(VeskUpdateGTKAlertRunnerTest, AHostThatWantsNoDialogGetsNone) {
  auto input = completion(true, true);
  input.shouldShowNoUpdatesFoundDialog = false;

  EXPECT_EQ(presenter_.presentManualCheckCompletionAlert(input), VeskUpdateManualCheckCompletionResult{});
  EXPECT_TRUE(testing::windowsOnScreen().empty());
}

TEST_F(VeskUpdateGTKAlertRunnerTest, OnlyTheFirstButtonOpensTheManualDownload) {
  const QuillonURL url = *QuillonURL::parse("https://example.org/download");

  clickWhileUp(1);
  presenter_.presentManualUpdateAlert(*englishTexts(), std::nullopt, url, Phase::download);
  EXPECT_THAT(opened_, IsEmpty());

  clickWhileUp(0);
  presenter_.presentManualUpdateAlert(*englishTexts(), std::nullopt, url, Phase::installation);
  EXPECT_THAT(opened_, ElementsAre("https://example.org/download"));
}

TEST_F(VeskUpdateGTKAlertRunnerTest, TheReturnKeyPressesTheFirstButtonAndEscapeTheLast) {
  const VeskUpdateAlert alert = presenter_.makeManualUpdateAlert(*englishTexts(), std::nullopt, Phase::download);

  whileAlertIsUp([this] { desktop_.typeKey("Return"); });
  EXPECT_EQ(runner_.run(alert).pressedButton, std::optional<std::size_t>(0));
  whileAlertIsUp([this] { desktop_.typeKey("Escape"); });
  EXPECT_EQ(runner_.run(alert).pressedButton, std::optional<std::size_t>(1));
}

TEST_F(VeskUpdateGTKAlertRunnerTest, AnAlertThatIsClosedHasNoPressedButton) {
  whileAlertIsUp([] { window().close(); });

  const VeskUpdateAlertAnswer answer = runner_.run(presenter_.makeUpdateCancelledAlert(*englishTexts()));

  EXPECT_EQ(answer.pressedButton, std::nullopt);
  EXPECT_EQ(answer.isSuppressionCheckboxOn, std::nullopt);
}

TEST_F(VeskUpdateGTKAlertRunnerTest, AnEmptyTextOfTheCallerIsTheBody) {
  whileAlertIsUp([this] {
    EXPECT_EQ(text(Identifiers::bodyLabel), "");
    desktop_.click(button(0));
  });
  presenter_.presentInstallationFailedAlert(*englishTexts(), "");

  whileAlertIsUp([this] {
    EXPECT_THAT(text(Identifiers::bodyLabel), StartsWith("The update could not be installed automatically."));
    desktop_.click(button(0));
  });
  presenter_.presentInstallationFailedAlert(*englishTexts(), std::nullopt);
}

TEST_F(VeskUpdateGTKAlertRunnerTest, TheMainThreadGoesOnWhileAnAlertIsUp) {
  bool didRun = false;
  whileAlertIsUp([&] {
    mainThread_.post([&] { didRun = true; });
    EXPECT_TRUE(desktop_.serveUntil([&] { return didRun; }));
    desktop_.click(button(0));
  });

  presenter_.presentUpdateCancelledAlert(*englishTexts());

  EXPECT_TRUE(didRun);
}

TEST_F(VeskUpdateGTKAlertRunnerTest, HostileTextsAreShownAsTextAndTheButtonsStayOnTheScreen) {
  std::string lines;
  for (int i = 0; i < 500; ++i) lines += "<b>line</b> & more\n";
  lines += "end";
  for (const std::string& hostile : {lines, std::string(10'000, 'W')}) {
    whileAlertIsUp([&] {
      auto& body = testing::part<Gtk::TextView>(window(), Identifiers::bodyLabel);
      const std::string shown = body.get_buffer()->get_text();
      EXPECT_EQ(shown, hostile.starts_with('W') ? hostile.substr(0, 3000) + "…" : hostile);
      EXPECT_FALSE(body.get_editable());
      EXPECT_LE(window().get_width(), 800);
      EXPECT_LE(window().get_height(), 600);
      desktop_.click(button(0));
    });
    presenter_.presentDownloadFailedAlert(*englishTexts(), hostile);
  }
}

TEST_F(VeskUpdateGTKAlertRunnerTest, ALongTextIsReadToItsEndWithTheKeyboard) {
  std::string lines;
  for (int i = 0; i < 500; ++i) lines += "line\n";
  whileAlertIsUp([this] {
    auto& scroller = *testing::descendantOfType<Gtk::ScrolledWindow>(window());
    const auto position = scroller.get_vadjustment();
    scroller.get_child()->grab_focus();
    desktop_.typeKey("Page_Down");
    EXPECT_TRUE(desktop_.serveUntil([&] { return position->get_value() > 0; }));
    desktop_.typeKey("Escape");
  });

  presenter_.presentDownloadFailedAlert(*englishTexts(), lines);
}

TEST_F(VeskUpdateGTKAlertRunnerTest, ALongTitleOfTheCheckboxBreaksIntoLines) {
  VeskUpdateAlert alert = presenter_.makeUpdateCancelledAlert(*englishTexts());
  alert.suppressionCheckbox = {.title = std::string(10'000, 'W')};
  whileAlertIsUp([this] {
    auto& title = *testing::descendantOfType<Gtk::Label>(*checkbox());
    EXPECT_LE(window().get_width(), 800);
    EXPECT_EQ(pango_layout_get_line_count(gtk_label_get_layout(title.gobj())), 3);
    desktop_.click(button(0));
  });

  EXPECT_EQ(runner_.run(alert).isSuppressionCheckboxOn, std::optional(false));
}

TEST_F(VeskUpdateGTKAlertRunnerTest, TheCheckboxStandsBelowTheTexts) {
  whileAlertIsUp([this] {
    auto& body = testing::part<Gtk::Label>(window(), Identifiers::bodyLabel);
    Gtk::Widget& mark = *checkbox()->get_first_child();
    EXPECT_EQ(testing::bounds(mark, window()).origin.x, testing::bounds(body, window()).origin.x);
    desktop_.click(button(0));
  });

  EXPECT_TRUE(presenter_.presentManualCheckCompletionAlert(completion(true, true)).didPresentAlert);
}

TEST_F(VeskUpdateGTKAlertRunnerTest, AtTwiceTheTextSizeNoTitleIsCutOff) {
  const testing::TextSize twice(2.0);
  whileAlertIsUp([this] {
    auto& title = testing::part<Gtk::Label>(window(), Identifiers::titleLabel);
    EXPECT_FALSE(pango_layout_is_ellipsized(gtk_label_get_layout(title.gobj())));
    desktop_.click(button(0));
  });

  presenter_.presentUnableToCheckForUpdatesAlert(true, *englishTexts());
}

TEST_F(VeskUpdateGTKAlertRunnerTest, InARightToLeftLanguageTheAlertIsMirrored) {
  const testing::RightToLeft rightToLeft;
  whileAlertIsUp([this] {
    EXPECT_LT(testing::rightEdge(button(0), window()), testing::rightEdge(button(1), window()));
    EXPECT_LT(testing::rightEdge(testing::part<Gtk::Label>(window(), Identifiers::titleLabel), window()),
              testing::rightEdge(*testing::descendantOfType<Gtk::Image>(window()), window()));
    desktop_.click(button(1));
  });

  presenter_.presentManualUpdateAlert(*englishTexts(), std::nullopt, *QuillonURL::parse("https://example.org/"),
                                      Phase::download);
}

TEST_F(VeskUpdateGTKAlertRunnerTest, TextsAreLightOnADarkDesktop) {
  const testing::DarkDesktop dark;
  whileAlertIsUp([this] {
    EXPECT_GT(testing::brightness(testing::part<Gtk::Label>(window(), Identifiers::bodyLabel)), 0.6);
    desktop_.click(button(0));
  });

  presenter_.presentUpdateCancelledAlert(*englishTexts());
}

TEST_F(VeskUpdateGTKAlertRunnerTest, TheIconIsTheApplicationsWhereItHasOneAndElseThatOfTheStyle) {
  std::vector<std::string> names;
  const auto noteIcon = [&] {
    names.push_back(testing::descendantOfType<Gtk::Image>(window())->get_icon_name());
    desktop_.click(button(0));
  };
  for (const char* name : {"", "no-such-icon", "folder"}) {
    gtk_window_set_default_icon_name(name);
    whileAlertIsUp(noteIcon);
    presenter_.presentUpdateCancelledAlert(*englishTexts());
  }
  gtk_window_set_default_icon_name("");

  EXPECT_THAT(names, ElementsAre("dialog-warning", "dialog-warning", "folder"));
}

TEST_F(VeskUpdateGTKAlertRunnerTest, AnAlertOverAnAlertIsAnsweredByItself) {
  const VeskUpdateAlert alert = presenter_.makeManualUpdateAlert(*englishTexts(), std::nullopt, Phase::download);
  VeskUpdateAlertAnswer inner;
  whileAlertIsUp([&] {
    Gtk::Window& outerWindow = window();
    mainThread_.post([this, &outerWindow] {
      for (Gtk::Window* const shown : testing::windowsOnScreen()) {
        if (shown == &outerWindow) continue;
        ASSERT_TRUE(desktop_.waitUntilShown(*shown));
        desktop_.typeKey("Escape");
      }
    });
    inner = runner_.run(alert);
    ASSERT_TRUE(desktop_.waitUntilShown(outerWindow));
    desktop_.typeKey("Return");
  });

  const VeskUpdateAlertAnswer outer = runner_.run(alert);

  EXPECT_EQ(inner.pressedButton, std::optional<std::size_t>(1));
  EXPECT_EQ(outer.pressedButton, std::optional<std::size_t>(0));
}

TEST_F(VeskUpdateGTKAlertRunnerTest, TheWindowBehindAnAlertMayGoAway) {
  auto behind = std::make_unique<Gtk::Window>();
  behind->present();
  ASSERT_TRUE(desktop_.waitUntilShown(*behind));
  bool wasInFront = false;
  mainThread_.post([&] {
    for (Gtk::Window* const shown : testing::windowsOnScreen()) {
      if (shown->get_transient_for() == behind.get()) wasInFront = true;
    }
    behind.reset();
    ASSERT_TRUE(desktop_.waitUntilShown(window()));
    desktop_.click(button(0));
  });

  EXPECT_EQ(runner_.run(presenter_.makeUpdateCancelledAlert(*englishTexts())).pressedButton,
            std::optional<std::size_t>(0));
  EXPECT_TRUE(wasInFront);
}

TEST_F(VeskUpdateGTKAlertRunnerTest, AssistiveTechnologiesFindThePartsAndPressTheButton) {
  whileAlertIsUp([this] {
    const std::vector<std::string> parts = desktop_.accessibleParts();
    EXPECT_THAT(parts, Contains(StartsWith("label\tNo Updates Available")));
    EXPECT_THAT(parts, Contains("dialog\tNo Updates Available\t\tYou are running the current version of Example."));
    EXPECT_THAT(parts, Not(Contains(StartsWith("image"))));
    EXPECT_THAT(parts, Contains(StartsWith("check box\tCheck for beta releases")));
    EXPECT_TRUE(desktop_.pressThroughAccessibility("OK"));
  });

  EXPECT_TRUE(presenter_.presentManualCheckCompletionAlert(completion(true, true)).didPresentAlert);
}

}  // namespace
}  // namespace quillon
