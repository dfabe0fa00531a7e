#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlertPresenter.h"
#include "QuillonUpdatesAppKitUITests/Presentation/PromptInputMaking.h"

namespace quillon {

void PrintTo(const VeskUpdateAlert& alert, std::ostream* stream) {
  *stream << '"' << alert.title << "\" \"" << alert.body << '"';
  for (const std::string& button : alert.buttons) *stream << " [" << button << ']';
}

namespace {

using Alert = VeskUpdateAlert;
using Answer = VeskUpdateAlertAnswer;
using Phase = VeskUpdateManualUpdateFailurePhase;
using Result = VeskUpdateManualCheckCompletionResult;
using Style = VeskUpdateAlertStyle;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Answers every alert at once, and remembers it.
class RecordingAlertRunner final : public VeskUpdateAlertRunning {
 public:
  Answer run(const Alert& alert) override {
    alerts.push_back(alert);
    if (onRun) onRun();
    return answer;
  }

  Answer answer{.pressedButton = 0, .isSuppressionCheckboxOn = std::nullopt};
  std::vector<Alert> alerts;
  /// What the host does while the alert is up.
  std::function<void()> onRun;
};

/// An alert with `buttons`; none for the platform's own.
Alert alertOf(const std::string& title, const std::string& body, const std::vector<std::string>& buttons = {}) {
  return {.style = Style::warning,
          .title = title,
          .body = body,
          .buttons = buttons,
          .defaultButtonTitle = "OK",
          .suppressionCheckbox = std::nullopt};
}

class VeskUpdateAlertPresenterTest : public ::testing::Test {
 protected:
  /// A check that the user asked for and that found nothing.
  static VeskUpdateManualCheckCompletionInput checkedInput() {
    return {.shouldShowNoUpdatesFoundDialog = true,
            .updateCheckPerformedOK = true,
            .applicationName = "Example",
            .shouldOfferBetaToggle = false,
            .betaToggleEnabled = false,
            .localizationBundle = englishTexts()};
  }

  const std::shared_ptr<const VeskUpdateLocalizationBundle> texts_ = englishTexts();
  const QuillonURL page_ = *QuillonURL::parse("https://example.org/download");
  const std::shared_ptr<RecordingAlertRunner> runner_ = std::make_shared<RecordingAlertRunner>();
  std::vector<QuillonURL> opened_;
  const VeskUpdateAlertPresenter presenter_{[this](const QuillonURL& url) {
                                              opened_.push_back(url);
                                              return true;
                                            },
                                            runner_};
};

TEST_F(VeskUpdateAlertPresenterTest, NoUpdatesAreToldAsInformation) {
  Alert expected = alertOf("No Updates Available", "You are running the current version of Example.");
  expected.style = Style::informational;

  EXPECT_EQ(presenter_.makeManualCheckCompletionAlert(checkedInput()), expected);
}

TEST_F(VeskUpdateAlertPresenterTest, TheBetaCheckboxIsOfferedAsTheUserHasIt) {
  for (const bool isEnabled : {true, false}) {
    VeskUpdateManualCheckCompletionInput input = checkedInput();
    input.shouldOfferBetaToggle = true;
    input.betaToggleEnabled = isEnabled;

    const auto alert = presenter_.makeManualCheckCompletionAlert(input);

    EXPECT_EQ(alert->suppressionCheckbox,
              (Alert::SuppressionCheckbox{.title = "Check for beta releases", .isOn = isEnabled}));
  }
}

TEST_F(VeskUpdateAlertPresenterTest, ABetaPreferenceThatIsNotOfferedIsNotShown) {
  VeskUpdateManualCheckCompletionInput input = checkedInput();
  input.betaToggleEnabled = true;

  EXPECT_EQ(presenter_.makeManualCheckCompletionAlert(input)->suppressionCheckbox, std::nullopt);
}

TEST_F(VeskUpdateAlertPresenterTest, AManualCheckThatFailedNeverOffersTheBetaCheckbox) {
  VeskUpdateManualCheckCompletionInput input = checkedInput();
  input.updateCheckPerformedOK = false;
  input.shouldOfferBetaToggle = true;
  input.betaToggleEnabled = true;
  runner_->answer.isSuppressionCheckboxOn = true;

  EXPECT_EQ(presenter_.makeManualCheckCompletionAlert(input),
            alertOf("Unable to Check For Updates", "Please try again later."));
  EXPECT_EQ(presenter_.presentManualCheckCompletionAlert(input), (Result{true, true, std::nullopt}));
}

TEST_F(VeskUpdateAlertPresenterTest, AHostThatWantsNoDialogGetsNone) {
  for (const bool performedOK : {true, false}) {
    VeskUpdateManualCheckCompletionInput input = checkedInput();
    input.shouldShowNoUpdatesFoundDialog = false;
    input.updateCheckPerformedOK = performedOK;
    input.shouldOfferBetaToggle = true;

    EXPECT_EQ(presenter_.makeManualCheckCompletionAlert(input), std::nullopt);
    EXPECT_EQ(presenter_.presentManualCheckCompletionAlert(input), (Result{false, false, std::nullopt}));
  }
  EXPECT_THAT(runner_->alerts, IsEmpty());
}

TEST_F(VeskUpdateAlertPresenterTest, TheStateOfTheCheckboxIsReported) {
  VeskUpdateManualCheckCompletionInput input = checkedInput();
  input.shouldOfferBetaToggle = true;
  input.betaToggleEnabled = true;

  for (const bool isOn : {true, false}) {
    runner_->answer.isSuppressionCheckboxOn = isOn;
    EXPECT_EQ(presenter_.presentManualCheckCompletionAlert(input), (Result{true, true, isOn}));
  }
  EXPECT_EQ(runner_->alerts.size(), 2U);
}

TEST_F(VeskUpdateAlertPresenterTest, ACheckboxThatIsMissingIsOff) {
  VeskUpdateManualCheckCompletionInput input = checkedInput();
  input.shouldOfferBetaToggle = true;
  input.betaToggleEnabled = true;

  EXPECT_EQ(presenter_.presentManualCheckCompletionAlert(input), (Result{true, true, false}));
}

TEST_F(VeskUpdateAlertPresenterTest, ACheckWithoutCheckboxReportsNoState) {
  runner_->answer.isSuppressionCheckboxOn = true;

  EXPECT_EQ(presenter_.presentManualCheckCompletionAlert(checkedInput()), (Result{true, true, std::nullopt}));
}

TEST_F(VeskUpdateAlertPresenterTest, ACheckThatFailedSaysWhetherTheInternetIsThere) {
  presenter_.presentUnableToCheckForUpdatesAlert(true, *texts_);
  presenter_.presentUnableToCheckForUpdatesAlert(false, *texts_);

  EXPECT_THAT(runner_->alerts, ElementsAre(alertOf("Unable to Check For Updates. Internet appears to be offline.",
                                                   "Please try again later."),
                                           alertOf("Unable to Check For Updates", "Please try again later.")));
}

TEST_F(VeskUpdateAlertPresenterTest, AFailedDownloadHasTheCallersText) {
  presenter_.presentDownloadFailedAlert(*texts_, "The server is busy.");
  presenter_.presentDownloadFailedAlert(*texts_, std::nullopt);

  EXPECT_THAT(runner_->alerts,
              ElementsAre(alertOf("Download Failed", "The server is busy."), alertOf("Download Failed", "")));
}

TEST_F(VeskUpdateAlertPresenterTest, AFailedInstallationHasTheCallersTextOrItsOwn) {
  presenter_.presentInstallationFailedAlert(*texts_, "The volume is full.");
  presenter_.presentInstallationFailedAlert(*texts_, std::nullopt);

  EXPECT_THAT(runner_->alerts,
              ElementsAre(alertOf("Update Failed", "The volume is full.", {"OK"}),
                          alertOf("Update Failed",
                                  "The update could not be installed automatically. You can download and install it "
                                  "manually.",
                                  {"OK"})));
}

TEST_F(VeskUpdateAlertPresenterTest, AnEmptyTextIsShownAndNotReplaced) {
  EXPECT_EQ(presenter_.makeInstallationFailedAlert(*texts_, "").body, "");
  EXPECT_EQ(presenter_.makeManualUpdateAlert(*texts_, "", Phase::download).body, "");
  EXPECT_EQ(presenter_.makeManualUpdateAlert(*texts_, "", Phase::installation).body, "");
}

TEST_F(VeskUpdateAlertPresenterTest, AFailedDownloadCanOfferTheManualUpdate) {
  EXPECT_EQ(
      presenter_.makeManualUpdateAlert(*texts_, std::nullopt, Phase::download),
      alertOf("Download Failed", "The automatic update could not be installed. You can download the update manually.",
              {"Update Manually", "Cancel"}));
  EXPECT_EQ(presenter_.makeManualUpdateAlert(*texts_, "The server is busy.", Phase::download),
            alertOf("Download Failed", "The server is busy.", {"Update Manually", "Cancel"}));
}

TEST_F(VeskUpdateAlertPresenterTest, AFailedInstallationSaysTheSameWithAndWithoutTheManualUpdate) {
  for (const VeskUpdateAlertPresenter::OptionalText& text :
       {VeskUpdateAlertPresenter::OptionalText("The volume is full."), VeskUpdateAlertPresenter::OptionalText()}) {
    Alert failed = presenter_.makeInstallationFailedAlert(*texts_, text);
    const Alert manual = presenter_.makeManualUpdateAlert(*texts_, text, Phase::installation);

    EXPECT_THAT(manual.buttons, ElementsAre("Update Manually", "Cancel"));
    failed.buttons = manual.buttons;
    EXPECT_EQ(manual, failed);
  }
}

TEST_F(VeskUpdateAlertPresenterTest, UpdatingManuallyOpensThePage) {
  for (const Phase phase : {Phase::download, Phase::installation}) {
    opened_.clear();
    presenter_.presentManualUpdateAlert(*texts_, std::nullopt, page_, phase);
    EXPECT_THAT(opened_, ElementsAre(page_));
  }
}

TEST_F(VeskUpdateAlertPresenterTest, CancellingTheManualUpdateOpensNothing) {
  for (const std::optional<std::size_t> button : {std::optional<std::size_t>(1), std::optional<std::size_t>()}) {
    runner_->answer.pressedButton = button;
    presenter_.presentManualUpdateAlert(*texts_, std::nullopt, page_, Phase::download);
  }

  EXPECT_EQ(runner_->alerts.size(), 2U);
  EXPECT_THAT(opened_, IsEmpty());
}

TEST_F(VeskUpdateAlertPresenterTest, ACancelledUpdateWillBeOfferedAgain) {
  const Alert expected =
      alertOf("Update Canceled",
              "The update was not installed. It will be offered again the next time you check for updates.", {"OK"});

  presenter_.presentUpdateCancelledAlert(*texts_);

  EXPECT_EQ(presenter_.makeUpdateCancelledAlert(*texts_), expected);
  EXPECT_THAT(runner_->alerts, ElementsAre(expected));
}

TEST_F(VeskUpdateAlertPresenterTest, NothingButTheManualUpdateOpensAPage) {
  presenter_.presentUpdateCancelledAlert(*texts_);
  presenter_.presentInstallationFailedAlert(*texts_, std::nullopt);
  presenter_.presentDownloadFailedAlert(*texts_, std::nullopt);

  EXPECT_THAT(opened_, IsEmpty());
}

TEST_F(VeskUpdateAlertPresenterTest, EveryTextButTheCheckboxComesFromTheUpdateTextsTable) {
  VeskUpdateManualCheckCompletionInput input = checkedInput();
  input.shouldOfferBetaToggle = true;
  input.localizationBundle = germanTexts(
      R"("No Updates Available" = "Nichts"; "You are running the current version of %@." = "%@ ist aktuell.";
         "OK" = "Gut"; "Check for beta releases" = "x";)",
      R"("No Updates Available" = "x"; "OK" = "x"; "Check for beta releases" = "Betaversionen";)");

  const auto alert = presenter_.makeManualCheckCompletionAlert(input);

  EXPECT_EQ(alert->title, "Nichts");
  EXPECT_EQ(alert->body, "Example ist aktuell.");
  EXPECT_EQ(alert->defaultButtonTitle, "Gut");
  EXPECT_EQ(alert->suppressionCheckbox->title, "Betaversionen");
}

TEST_F(VeskUpdateAlertPresenterTest, EachTextOfEachAlertComesFromTheUpdateTextsTable) {
  const auto fromTable = [](std::string_view key) { return "QuillonUpdate:" + std::string(key); };
  const auto alertFromTable = [&](std::string_view title, std::string_view body,
                                  std::initializer_list<std::string_view> buttons = {}) {
    Alert alert = alertOf(fromTable(title), fromTable(body));
    for (const std::string_view button : buttons) alert.buttons.push_back(fromTable(button));
    alert.defaultButtonTitle = fromTable("OK");
    return alert;
  };
  const VeskUpdateLocalizationBundle texts(
      [](std::string_view key, std::string_view table) { return std::string(table) + ':' + std::string(key); }, "en");

  presenter_.presentUnableToCheckForUpdatesAlert(true, texts);
  presenter_.presentUnableToCheckForUpdatesAlert(false, texts);
  presenter_.presentInstallationFailedAlert(texts, std::nullopt);
  presenter_.presentManualUpdateAlert(texts, std::nullopt, page_, Phase::download);
  presenter_.presentManualUpdateAlert(texts, std::nullopt, page_, Phase::installation);
  presenter_.presentUpdateCancelledAlert(texts);
  presenter_.presentDownloadFailedAlert(texts, std::nullopt);

  const std::string_view manualInstallation =
      "The update could not be installed automatically. You can download and install it manually.";
  Alert downloadFailed = alertFromTable("Download Failed", "");
  downloadFailed.body = "";
  EXPECT_THAT(
      runner_->alerts,
      ElementsAre(
          alertFromTable("Unable to Check For Updates. Internet appears to be offline.", "Please try again later."),
          alertFromTable("Unable to Check For Updates", "Please try again later."),
          alertFromTable("Update Failed", manualInstallation, {"OK"}),
          alertFromTable("Download Failed",
                         "The automatic update could not be installed. You can download the update manually.",
                         {"Update Manually", "Cancel"}),
          alertFromTable("Update Failed", manualInstallation, {"Update Manually", "Cancel"}),
          alertFromTable("Update Canceled",
                         "The update was not installed. It will be offered again the next time you check for "
                         "updates.",
                         {"OK"}),
          downloadFailed));
}

TEST_F(VeskUpdateAlertPresenterTest, TheHostMayDestroyThePresenterAndWhatItWasCalledWithWhileAnAlertIsUp) {
  // Nobody but the presenter holds the runner.
  auto runner = std::make_shared<RecordingAlertRunner>();
  RecordingAlertRunner& running = *runner;
  auto presenter = std::make_unique<VeskUpdateAlertPresenter>(
      [this](const QuillonURL& url) {
        opened_.push_back(url);
        return true;
      },
      std::move(runner));
  auto page = std::make_unique<QuillonURL>(page_);
  running.onRun = [&] {
    presenter.reset();
    page.reset();
  };

  presenter->presentManualUpdateAlert(*texts_, std::nullopt, *page, Phase::download);

  EXPECT_EQ(presenter, nullptr);
  EXPECT_THAT(opened_, ElementsAre(page_));
}

TEST_F(VeskUpdateAlertPresenterTest, TheHostMayDestroyThePresenterWhileTheEndOfACheckIsTold) {
  auto runner = std::make_shared<RecordingAlertRunner>();
  RecordingAlertRunner& running = *runner;
  auto presenter = std::make_unique<VeskUpdateAlertPresenter>(nullptr, std::move(runner));
  auto input = std::make_unique<VeskUpdateManualCheckCompletionInput>(checkedInput());
  input->shouldOfferBetaToggle = true;
  running.answer.isSuppressionCheckboxOn = true;
  running.onRun = [&] {
    presenter.reset();
    input.reset();
  };

  EXPECT_EQ(presenter->presentManualCheckCompletionAlert(*input), (Result{true, true, true}));
  EXPECT_EQ(presenter, nullptr);
}

TEST_F(VeskUpdateAlertPresenterTest, ACallersTextKeepsItsLinesAndLosesItsControlCharacters) {
  EXPECT_EQ(presenter_.makeInstallationFailedAlert(*texts_, "<b>One</b>\r\nTwo\x1B[31m\u202E").body,
            "<b>One</b>\nTwo[31m");
}

}  // namespace
}  // namespace quillon
