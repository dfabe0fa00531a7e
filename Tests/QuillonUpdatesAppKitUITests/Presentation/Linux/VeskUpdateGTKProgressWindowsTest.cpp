#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <gtkmm/box.h>
#include <gtkmm/label.h>
#include <gtkmm/progressbar.h>
#include <gtkmm/window.h>

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKDescendant.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKProgressWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateProgressActionButton.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowPresenter.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateReadyInstallConfirmation.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Linux/VirtualDesktop.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Linux/WindowOnScreen.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace Identifiers = VeskUpdateProgressWindowIdentifiers;
using ::testing::Contains;
using ::testing::StartsWith;
using testing::TextSize;
using testing::VirtualDesktop;

class VeskUpdateGTKProgressWindowsTest : public ::testing::Test {
 protected:
  ~VeskUpdateGTKProgressWindowsTest() override {
    window_.reset();
    testing::expectNoWindowIsLeft(desktop_);
  }

  [[nodiscard]] VeskUpdateProgressWindowPresenter makePresenter() const {
    const auto files = makeSystemFileManager();
    const QuillonURL host = QuillonURL::fileURL((folder_ / "Host.app").string());
    return {std::make_shared<VeskUpdateGTKProgressWindows>(), files, host,
            std::make_shared<const VeskUpdateLocalizationBundle>(files, host, std::vector<std::string>{"en"})};
  }

  /// Shows a window with `title`, on the screen when this returns.
  void show(const std::string& title = "Downloading update…",
            const std::optional<std::string>& name = "Example Update") {
    window_ = makePresenter().showProgressWindow(title, name);
    ASSERT_TRUE(desktop_.waitUntilShown(onScreen()));
  }

  void update(const VeskUpdateProgressWindowState& state) const {
    makePresenter().updateProgressWindow(window_, state);
  }
  void offer(std::function<void()> action) {
    makePresenter().showReadyToInstallAndRelaunch(window_, "Ready to Install", "Install and Relaunch",
                                                  std::move(action));
    ASSERT_TRUE(desktop_.serveUntil([] { return button().get_mapped() && button().get_width() > 0; }));
  }

  [[nodiscard]] static Gtk::Window& onScreen() { return testing::onlyWindowOnScreen(); }
  template <typename Type>
  [[nodiscard]] static Type& part(std::string_view identifier) {
    return testing::part<Type>(onScreen(), identifier);
  }
  [[nodiscard]] static Gtk::Label& title() { return part<Gtk::Label>(Identifiers::titleLabel); }
  [[nodiscard]] static Gtk::Label& status() { return part<Gtk::Label>(Identifiers::statusLabel); }
  [[nodiscard]] static Gtk::ProgressBar& bar() { return part<Gtk::ProgressBar>(Identifiers::progressIndicator); }
  [[nodiscard]] static VeskUpdateProgressActionButton& button() {
    return part<VeskUpdateProgressActionButton>(Identifiers::actionButton);
  }
  /// GTK marks the bar's block.
  [[nodiscard]] static bool isIndeterminate() { return testing::descendantOfClass(bar(), "pulse") != nullptr; }
  [[nodiscard]] bool isAnimated() const {
    return g_main_context_find_source_by_user_data(nullptr, window_.get()) != nullptr;
  }
  /// The block goes somewhere else by itself.
  [[nodiscard]] bool moves() {
    const auto place = [] { return testing::bounds(*testing::descendantOfClass(bar(), "pulse"), onScreen()).origin.x; };
    desktop_.serveWhatWaits();
    return isIndeterminate() && isAnimated() &&
           desktop_.serveUntil([&, before = place()] { return place() != before; });
  }

  VirtualDesktop& desktop_ = VirtualDesktop::shared();
  testing::TemporaryDirectory folder_;
  std::shared_ptr<VeskUpdateProgressWindow> window_;
};

TEST_F(VeskUpdateGTKProgressWindowsTest, AShownWindowHasItsTextsAndAnIndeterminateBarAtZero) {
  show("Downloading update…", "Example Update");

  EXPECT_EQ(onScreen().get_title(), "Example Update");
  EXPECT_EQ(title().get_text(), "Downloading update…");
  EXPECT_FALSE(status().get_visible());
  EXPECT_TRUE(isIndeterminate());
  EXPECT_EQ(bar().get_fraction(), 0.0);
  EXPECT_FALSE(button().get_visible());
}

TEST_F(VeskUpdateGTKProgressWindowsTest, TheContentIs420By132AndCannotBeResizedOrClosed) {
  show();

  EXPECT_EQ(onScreen().get_child()->get_width(), 420);
  EXPECT_EQ(onScreen().get_child()->get_height(), 132);
  EXPECT_EQ(bar().get_height(), 16);
  EXPECT_EQ(bar().get_width(), 380);
  EXPECT_FALSE(onScreen().get_resizable());
  onScreen().close();
  desktop_.serveWhatWaits();
  EXPECT_TRUE(onScreen().get_mapped());
}

TEST_F(VeskUpdateGTKProgressWindowsTest, TheContentStandsInTheMiddle) {
  show();
  update({.title = "Downloading update…", .statusText = "1 MB of 4 MB", .progressFraction = 0.25});
  desktop_.serveWhatWaits();

  const graphene_rect_t content = testing::bounds(*onScreen().get_child(), onScreen());
  const graphene_rect_t top = testing::bounds(title(), onScreen());
  const graphene_rect_t bottom = testing::bounds(bar(), onScreen());
  const float above = top.origin.y - content.origin.y;
  const float below = content.origin.y + content.size.height - bottom.origin.y - bottom.size.height;
  EXPECT_NEAR(above, below, 1);
}

TEST_F(VeskUpdateGTKProgressWindowsTest, AWindowTitleOfWhiteSpaceFallsBackToTheApplicationsNameAndToSoftwareUpdate) {
  show("", " \n\t");
  EXPECT_EQ(onScreen().get_title(), "Software Update");

  testing::writeFile(folder_ / "Host.app/Contents/Info.plist",
                     R"(<plist version="1.0"><dict><key>CFBundleName</key><string>Host</string></dict></plist>)");
  window_.reset();
  show("", " ");
  EXPECT_EQ(onScreen().get_title(), "Host Update");
}

TEST_F(VeskUpdateGTKProgressWindowsTest, AFractionAboveOneShowsAFullBarAndAnAbsentOneAnIndeterminateBar) {
  show();

  update({.title = "a", .progressFraction = 1.3});
  EXPECT_EQ(bar().get_fraction(), 1.0);
  EXPECT_FALSE(isIndeterminate());

  update({.title = "b"});
  EXPECT_EQ(bar().get_fraction(), 0.0);
  EXPECT_TRUE(isIndeterminate());
}

TEST_F(VeskUpdateGTKProgressWindowsTest, AnEmptyStatusTextHidesTheStatus) {
  show();

  update({.title = "a", .statusText = "1 MB of 4 MB", .progressFraction = 0.25});
  EXPECT_TRUE(status().get_visible());
  EXPECT_EQ(status().get_text(), "1 MB of 4 MB");
  EXPECT_EQ(bar().get_fraction(), 0.25);

  update({.title = "a", .statusText = ""});
  EXPECT_FALSE(status().get_visible());
}

TEST_F(VeskUpdateGTKProgressWindowsTest, AClickResolvesOnceAndDisablesTheButton) {
  int presses = 0;
  show();
  offer([&] { ++presses; });

  desktop_.click(button());
  ASSERT_TRUE(desktop_.serveUntil([&] { return presses > 0; }));
  desktop_.click(button());
  desktop_.serveWhatWaits();

  EXPECT_EQ(presses, 1);
  EXPECT_FALSE(button().get_sensitive());
  EXPECT_EQ(bar().get_fraction(), 1.0);
}

TEST_F(VeskUpdateGTKProgressWindowsTest, TheReturnKeyPressesTheOfferedButton) {
  int presses = 0;
  show();
  offer([&] { ++presses; });

  desktop_.typeKey("Return");

  EXPECT_TRUE(desktop_.serveUntil([&] { return presses == 1; }));
}

TEST_F(VeskUpdateGTKProgressWindowsTest, AStateChangeWithdrawsTheOffer) {
  show();
  offer([] {});

  update({.title = "Preparing to install…"});

  EXPECT_FALSE(button().get_visible());
  EXPECT_FALSE(button().get_sensitive());
}

TEST_F(VeskUpdateGTKProgressWindowsTest, ACancellationBeforeTheOfferEndsTheWaitAndALaterPressDoesNothing) {
  VeskUpdateReadyInstallConfirmation confirmation;
  std::vector<bool> endings;
  const auto isCancellation = [](const std::exception_ptr& error) {
    try {
      if (error) std::rethrow_exception(error);
    } catch (const QuillonCancellationError&) {
      return true;
    }
    return false;
  };
  show();
  confirmation.resolve(std::make_exception_ptr(QuillonCancellationError()));
  confirmation.setContinuation([&](const std::exception_ptr& error) { endings.push_back(isCancellation(error)); });
  EXPECT_EQ(endings, std::vector{true});
  EXPECT_FALSE(button().get_visible());
  offer([&] { confirmation.resolve(); });

  desktop_.click(button());
  ASSERT_TRUE(desktop_.serveUntil([] { return !button().get_sensitive(); }));

  EXPECT_EQ(endings, std::vector{true});
}

TEST_F(VeskUpdateGTKProgressWindowsTest, TwoClicksEndTheWaitOnce) {
  VeskUpdateReadyInstallConfirmation confirmation;
  int endings = 0;
  confirmation.setContinuation([&](const std::exception_ptr& error) { endings += error ? 100 : 1; });
  show();
  offer([&] { confirmation.resolve(); });

  desktop_.click(button());
  desktop_.click(button());
  ASSERT_TRUE(desktop_.serveUntil([&] { return endings > 0; }));
  desktop_.serveWhatWaits();

  EXPECT_EQ(endings, 1);
}

TEST_F(VeskUpdateGTKProgressWindowsTest, TheActionMayCloseAndDestroyTheWindow) {
  bool didPress = false;
  show();
  offer([&] {
    makePresenter().hideProgressWindow(window_);
    window_.reset();
    didPress = true;
  });

  desktop_.click(button());

  EXPECT_TRUE(desktop_.serveUntil([&] { return didPress; }));
  desktop_.serveWhatWaits();
  EXPECT_TRUE(testing::windowsOnScreen().empty());
}

TEST_F(VeskUpdateGTKProgressWindowsTest, AWindowMayBeClosedTwiceAndUpdatedAfterwards) {
  show();

  makePresenter().hideProgressWindow(window_);
  makePresenter().hideProgressWindow(window_);
  update({.title = "late", .statusText = "later", .progressFraction = 0.5});
  desktop_.serveWhatWaits();

  EXPECT_TRUE(testing::windowsOnScreen().empty());
}

TEST_F(VeskUpdateGTKProgressWindowsTest, ABarWithoutAFractionMovesWhateverWasShownBefore) {
  show();
  EXPECT_TRUE(moves());

  update({.title = "Downloading update…", .progressFraction = 0.5});
  EXPECT_FALSE(isAnimated());

  update({.title = "Extracting…"});
  EXPECT_TRUE(moves());
}

TEST_F(VeskUpdateGTKProgressWindowsTest, WhereTheUserWantsNoAnimationsABarStandsStill) {
  g_object_set(gtk_settings_get_default(), "gtk-enable-animations", FALSE, nullptr);
  show();
  update({.title = "Extracting…"});
  g_object_set(gtk_settings_get_default(), "gtk-enable-animations", TRUE, nullptr);

  EXPECT_TRUE(isIndeterminate());
  EXPECT_FALSE(isAnimated());
}

TEST_F(VeskUpdateGTKProgressWindowsTest, AClosedWindowAnimatesNothing) {
  show();
  Gtk::Window& closed = onScreen();
  ASSERT_TRUE(isAnimated());

  makePresenter().hideProgressWindow(window_);
  EXPECT_FALSE(isAnimated());

  update({.title = "late"});
  EXPECT_FALSE(isAnimated());
  auto& content = dynamic_cast<Gtk::Box&>(*closed.get_child());
  content.remove(*content.get_first_child());
  update({.title = "again"});
  EXPECT_TRUE(window_->hasProgressContent());
  EXPECT_FALSE(isAnimated());
}

TEST_F(VeskUpdateGTKProgressWindowsTest, ContentThatIsGoneIsBuiltAgain) {
  show();
  auto& content = dynamic_cast<Gtk::Box&>(*onScreen().get_child());
  content.remove(*content.get_first_child());
  ASSERT_FALSE(window_->hasProgressContent());

  update({.title = "again", .progressFraction = 0.5});

  EXPECT_EQ(title().get_text(), "again");
  EXPECT_EQ(bar().get_fraction(), 0.5);
}

TEST_F(VeskUpdateGTKProgressWindowsTest, HostileTextsAreShownAsTextAndChangeNoMeasure) {
  const std::string tenThousand(10'000, 'W');
  show();

  for (const std::string& text : {std::string("<b>bold</b> &amp; _mnemonic"), std::string("two\nlines\t\x1b[31m\x07"),
                                  tenThousand, std::string("\xff\xfe broken"), std::string("\u202Egnp.exe")}) {
    update({.title = text, .statusText = text});
    desktop_.serveWhatWaits();
    EXPECT_EQ(onScreen().get_child()->get_width(), 420);
    EXPECT_EQ(onScreen().get_child()->get_height(), 132);
  }
  update({.title = "<b>bold</b> _mnemonic", .statusText = "a\nb"});
  EXPECT_EQ(title().get_text(), "<b>bold</b> _mnemonic");
  EXPECT_EQ(status().get_text(), "a b");
  makePresenter().showReadyToInstallAndRelaunch(window_, tenThousand, tenThousand, nullptr);
  ASSERT_TRUE(desktop_.serveUntil([] { return button().get_width() > 0; }));
  EXPECT_EQ(onScreen().get_child()->get_width(), 420);
}

TEST_F(VeskUpdateGTKProgressWindowsTest, ALongNameOfTheApplicationWidensNoWindow) {
  const std::string tenThousand(10'000, 'W');
  show("", tenThousand);
  EXPECT_EQ(onScreen().get_title().raw(), tenThousand);
  EXPECT_EQ(onScreen().get_child()->get_width(), 420);

  testing::writeFile(
      folder_ / "Host.app/Contents/Info.plist",
      "<plist version=\"1.0\"><dict><key>CFBundleDisplayName</key><string>" + tenThousand + "</string></dict></plist>");
  window_.reset();
  show("", std::nullopt);
  EXPECT_EQ(onScreen().get_title().raw(), tenThousand + " Update");
  EXPECT_EQ(onScreen().get_child()->get_width(), 420);
}

TEST_F(VeskUpdateGTKProgressWindowsTest, AtTwiceTheTextSizeTheWindowHasRoomForIt) {
  const TextSize twice(2.0);
  show();
  update({.title = "Downloading update…", .statusText = "1 MB of 4 MB", .progressFraction = 0.25});
  offer([] {});

  EXPECT_EQ(onScreen().get_child()->get_width(), 840);
  EXPECT_LE(button().get_height() + title().get_height() + bar().get_height(), onScreen().get_child()->get_height());
  EXPECT_FALSE(pango_layout_is_ellipsized(gtk_label_get_layout(title().gobj())));
}

TEST_F(VeskUpdateGTKProgressWindowsTest, InARightToLeftLanguageTheWindowIsMirrored) {
  const testing::RightToLeft rightToLeft;
  show();
  offer([] {});

  EXPECT_EQ(testing::rightEdge(button(), onScreen()), testing::rightEdge(bar(), onScreen()));
}

TEST_F(VeskUpdateGTKProgressWindowsTest, TextsAreLightOnADarkDesktop) {
  show();
  EXPECT_LT(testing::brightness(title()), 0.4);

  const testing::DarkDesktop dark;

  EXPECT_TRUE(desktop_.serveUntil([] { return testing::brightness(title()) > 0.6; }));
}

TEST_F(VeskUpdateGTKProgressWindowsTest, AssistiveTechnologiesFindThePartsByRoleAndName) {
  show();
  update({.title = "Downloading update…", .statusText = "1 MB of 4 MB", .progressFraction = 0.25});
  desktop_.serveWhatWaits();

  const std::vector<std::string> parts = desktop_.accessibleParts();

  EXPECT_THAT(parts, Contains(StartsWith("frame\tExample Update\t")));
  EXPECT_THAT(parts, Contains(StartsWith("label\tDownloading update…\t")));
  EXPECT_THAT(parts, Contains(StartsWith("label\t1 MB of 4 MB\t")));
  EXPECT_THAT(parts, Contains(StartsWith("progress bar\tDownloading update…\t0.25")));
}

TEST_F(VeskUpdateGTKProgressWindowsTest, AssistiveTechnologiesPressTheButton) {
  int presses = 0;
  show();
  offer([&] { ++presses; });

  ASSERT_TRUE(desktop_.pressThroughAccessibility("Install and Relaunch"));

  EXPECT_TRUE(desktop_.serveUntil([&] { return presses == 1; }));
}

}  // namespace
}  // namespace quillon
