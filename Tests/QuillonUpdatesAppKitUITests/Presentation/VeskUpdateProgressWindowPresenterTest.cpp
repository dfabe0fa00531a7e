#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowPresenter.h"
#include "Support/RecordingProgressWindow.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using testing::RecordingProgressWindow;
using testing::RecordingProgressWindows;
using testing::writeFile;

class VeskUpdateProgressWindowPresenterTest : public ::testing::Test {
 protected:
  /// Writes the application's Info.plist with these keys and values.
  void applicationSays(const std::vector<std::pair<std::string, std::string>>& values) {
    std::string list = R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)";
    for (const auto& [key, value] : values) list.append("<key>" + key + "</key><string>" + value + "</string>");
    writeFile(folder_ / "Host.app/Contents/Info.plist", list + "</dict></plist>");
  }

  VeskUpdateProgressWindowPresenter makePresenter(const std::vector<std::string>& languages = {"en"}) {
    const auto files = makeSystemFileManager();
    const QuillonURL host = QuillonURL::fileURL((folder_ / "Host.app").string());
    return {windows_, files, host, std::make_shared<const VeskUpdateLocalizationBundle>(files, host, languages)};
  }

  std::string resolvedWindowTitle(const std::optional<std::string>& windowTitle) {
    (void)makePresenter().showProgressWindow("", windowTitle);
    return windows_->last->windowTitle();
  }

  testing::TemporaryDirectory folder_;
  std::shared_ptr<RecordingProgressWindows> windows_ = std::make_shared<RecordingProgressWindows>();
  std::shared_ptr<RecordingProgressWindow> window_ = std::make_shared<RecordingProgressWindow>();
};

TEST_F(VeskUpdateProgressWindowPresenterTest, AShownWindowHasItsTitleAndAnIndeterminateBar) {
  const auto window = makePresenter().showProgressWindow("Looking…", "Example Update");

  EXPECT_EQ(window, windows_->last);
  EXPECT_TRUE(windows_->last->isVisible());
  EXPECT_EQ(windows_->last->windowTitle(), "Example Update");
  EXPECT_THAT(windows_->last->record().states, ElementsAre("Looking… | …"));
  EXPECT_EQ(windows_->last->configurations(), 1);
}

TEST_F(VeskUpdateProgressWindowPresenterTest, AGivenWindowTitleLosesTheWhiteSpaceAroundIt) {
  EXPECT_EQ(resolvedWindowTitle(" \n Example  Update\t\u2028"), "Example  Update");
}

TEST_F(VeskUpdateProgressWindowPresenterTest, AWindowTitleOfWhiteSpaceIsReplacedByTheApplicationsName) {
  applicationSays({{"CFBundleDisplayName", " Example \n"}, {"CFBundleName", "Other"}});

  EXPECT_EQ(resolvedWindowTitle(" \n\t"), "Example Update");
  EXPECT_EQ(resolvedWindowTitle(""), "Example Update");
  EXPECT_EQ(resolvedWindowTitle(std::nullopt), "Example Update");
}

TEST_F(VeskUpdateProgressWindowPresenterTest, WithoutADisplayNameTheBundleNameCounts) {
  applicationSays({{"CFBundleName", "Example"}});
  EXPECT_EQ(resolvedWindowTitle(std::nullopt), "Example Update");

  applicationSays({{"CFBundleDisplayName", " \n"}, {"CFBundleName", " Other "}});
  EXPECT_EQ(resolvedWindowTitle(std::nullopt), "Other Update");
}

TEST_F(VeskUpdateProgressWindowPresenterTest, WithoutAnyNameTheWindowIsCalledSoftwareUpdate) {
  EXPECT_EQ(resolvedWindowTitle(" "), "Software Update");

  applicationSays({{"CFBundleDisplayName", " "}, {"CFBundleName", ""}});
  EXPECT_EQ(resolvedWindowTitle(std::nullopt), "Software Update");
}

TEST_F(VeskUpdateProgressWindowPresenterTest, WindowTitlesAreInTheUsersLanguage) {
  writeFile(folder_ / "Host.app/Contents/Resources/de.lproj/QuillonUpdate.strings",
            "\"%@ Update\" = \"Update für %@\";\n\"Software Update\" = \"Softwareupdate\";\n");

  (void)makePresenter({"de"}).showProgressWindow("", std::nullopt);
  EXPECT_EQ(windows_->last->windowTitle(), "Softwareupdate");

  applicationSays({{"CFBundleName", "Beispiel"}});
  (void)makePresenter({"de"}).showProgressWindow("", std::nullopt);
  EXPECT_EQ(windows_->last->windowTitle(), "Update für Beispiel");
}

TEST_F(VeskUpdateProgressWindowPresenterTest, AnUpdateShowsTitleStatusAndFraction) {
  makePresenter().updateProgressWindow(
      window_, {.title = "Downloading", .statusText = "1 MB of 4 MB", .progressFraction = 0.25});

  EXPECT_EQ(window_->shown(), "Downloading | 1 MB of 4 MB | 25%");
}

TEST_F(VeskUpdateProgressWindowPresenterTest, AnEmptyOrAbsentStatusTextHidesTheStatus) {
  const VeskUpdateProgressWindowPresenter presenter = makePresenter();

  presenter.updateProgressWindow(window_, {.title = "a", .statusText = "shown"});
  EXPECT_FALSE(window_->isStatusHidden());
  presenter.updateProgressWindow(window_, {.title = "b", .statusText = ""});
  EXPECT_TRUE(window_->isStatusHidden());
  presenter.updateProgressWindow(window_, {.title = "c", .statusText = "shown"});
  presenter.updateProgressWindow(window_, {.title = "d"});
  EXPECT_TRUE(window_->isStatusHidden());
}

TEST_F(VeskUpdateProgressWindowPresenterTest, AFractionOutsideItsRangeShowsAnEmptyOrAFullBar) {
  const VeskUpdateProgressWindowPresenter presenter = makePresenter();
  const std::vector<std::pair<double, std::string>> table = {{1.3, " | 100%"},
                                                             {1.0, " | 100%"},
                                                             {0.0, " | 0%"},
                                                             {-0.5, " | 0%"},
                                                             {std::numeric_limits<double>::quiet_NaN(), " | 0%"},
                                                             {std::numeric_limits<double>::infinity(), " | 100%"}};

  for (const auto& [fraction, shown] : table) {
    presenter.updateProgressWindow(window_, {.title = "", .progressFraction = fraction});

    EXPECT_EQ(window_->shown(), shown) << fraction;
  }
}

TEST_F(VeskUpdateProgressWindowPresenterTest, AnAbsentFractionShowsAnIndeterminateBarAgain) {
  const VeskUpdateProgressWindowPresenter presenter = makePresenter();
  presenter.updateProgressWindow(window_, {.title = "a", .progressFraction = 0.5});

  presenter.updateProgressWindow(window_, {.title = "b"});

  EXPECT_EQ(window_->shown(), "b | …");
}

TEST_F(VeskUpdateProgressWindowPresenterTest, AWindowThatHasLostItsContentGetsItAgain) {
  const VeskUpdateProgressWindowPresenter presenter = makePresenter();
  presenter.updateProgressWindow(window_, {.title = "a"});
  presenter.updateProgressWindow(window_, {.title = "b"});
  EXPECT_EQ(window_->configurations(), 1);

  window_->removeContent();
  presenter.updateProgressWindow(window_, {.title = "c"});

  EXPECT_EQ(window_->configurations(), 2);
  EXPECT_EQ(window_->shown(), "c | …");
}

TEST_F(VeskUpdateProgressWindowPresenterTest, TheButtonAppearsAfterTheStateAndCallsItsActionOnce) {
  int presses = 0;
  makePresenter().showReadyToInstallAndRelaunch(window_, "Ready", "Install", [&] { ++presses; });
  EXPECT_THAT(window_->record().states, ElementsAre("Ready | 100%", "Ready | 100% | [Install]"));

  window_->press();
  window_->press();

  EXPECT_EQ(presses, 1);
}

TEST_F(VeskUpdateProgressWindowPresenterTest, EveryUpdateWithdrawsTheButton) {
  const VeskUpdateProgressWindowPresenter presenter = makePresenter();
  int presses = 0;
  presenter.showReadyToInstallAndRelaunch(window_, "Ready", "Install", [&] { ++presses; });

  presenter.updateProgressWindow(window_, {.title = "Going on"});
  window_->press();

  EXPECT_EQ(window_->shown(), "Going on | …");
  EXPECT_EQ(presses, 0);
}

TEST_F(VeskUpdateProgressWindowPresenterTest, HidingClosesTheWindow) {
  const VeskUpdateProgressWindowPresenter presenter = makePresenter();
  const auto window = presenter.showProgressWindow("a", std::nullopt);

  presenter.hideProgressWindow(window);

  EXPECT_FALSE(windows_->last->isVisible());
}

TEST_F(VeskUpdateProgressWindowPresenterTest, WithoutAWindowNothingHappens) {
  const VeskUpdateProgressWindowPresenter presenter = makePresenter();

  EXPECT_NO_THROW(presenter.updateProgressWindow(nullptr, {.title = "a"}));
  EXPECT_NO_THROW(presenter.showReadyToInstallAndRelaunch(nullptr, "a", "b", [] { FAIL(); }));
  EXPECT_NO_THROW(presenter.hideProgressWindow(nullptr));
}

}  // namespace
}  // namespace quillon
