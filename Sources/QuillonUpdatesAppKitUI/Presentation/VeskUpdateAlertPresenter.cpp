#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlertPresenter.h"

#include <utility>

#include "QuillonCore/Text/QuillonLocalizedFormat.h"
#include "QuillonCore/Text/QuillonPlainText.h"

namespace quillon {
namespace {

using Alert = VeskUpdateAlert;
using Bundle = VeskUpdateLocalizationBundle;
using OptionalText = VeskUpdateAlertPresenter::OptionalText;
using Phase = VeskUpdateManualUpdateFailurePhase;

Alert makeAlert(const Bundle& bundle, const VeskUpdateText& title, const std::string& body) {
  return {.style = VeskUpdateAlertStyle::warning,
          .title = singleLineText(bundle.text(title)),
          .body = multiLineText(body),
          .buttons = {},
          .defaultButtonTitle = singleLineText(bundle.text(VeskUpdateTexts::ok)),
          .suppressionCheckbox = std::nullopt};
}

void addButton(Alert& alert, const Bundle& bundle, const VeskUpdateText& title) {
  alert.buttons.push_back(singleLineText(bundle.text(title)));
}

Alert makeNoUpdatesAlert(const VeskUpdateManualCheckCompletionInput& input) {
  const Bundle& bundle = *input.localizationBundle;
  Alert alert = makeAlert(bundle, VeskUpdateTexts::noUpdatesAvailable,
                          formattedText(bundle.text(VeskUpdateTexts::runningCurrentVersion), {input.applicationName}));
  alert.style = VeskUpdateAlertStyle::informational;
  if (input.shouldOfferBetaToggle) {
    alert.suppressionCheckbox = Alert::SuppressionCheckbox{
        .title = singleLineText(bundle.applicationText(VeskUpdateTexts::checkForBetaReleases.english)),
        .isOn = input.betaToggleEnabled};
  }
  return alert;
}

Alert makeUnableToCheckAlert(bool offline, const Bundle& bundle) {
  return makeAlert(bundle, offline ? VeskUpdateTexts::unableToCheckOffline : VeskUpdateTexts::unableToCheck,
                   bundle.text(VeskUpdateTexts::tryAgainLater));
}

/// What every alert of a failed installation says; they differ in their buttons only.
Alert makeInstallationFailure(const Bundle& bundle, const OptionalText& informativeText) {
  return makeAlert(bundle, VeskUpdateTexts::updateFailed,
                   informativeText ? *informativeText : bundle.text(VeskUpdateTexts::manualInstallationFallback));
}

Alert makeDownloadFailureWithFallback(const Bundle& bundle, const OptionalText& informativeText) {
  return makeAlert(bundle, VeskUpdateTexts::downloadFailed,
                   informativeText ? *informativeText : bundle.text(VeskUpdateTexts::manualUpdateFallback));
}

}  // namespace

VeskUpdateAlertPresenter::VeskUpdateAlertPresenter(OpenURL openURL, std::shared_ptr<VeskUpdateAlertRunning> alertRunner)
    : openURL_(std::move(openURL)), alertRunner_(std::move(alertRunner)) {}

std::optional<VeskUpdateAlert> VeskUpdateAlertPresenter::makeManualCheckCompletionAlert(
    const VeskUpdateManualCheckCompletionInput& input) const {
  if (!input.shouldShowNoUpdatesFoundDialog) return std::nullopt;
  return input.updateCheckPerformedOK ? makeNoUpdatesAlert(input)
                                      : makeUnableToCheckAlert(false, *input.localizationBundle);
}

VeskUpdateManualCheckCompletionResult VeskUpdateAlertPresenter::presentManualCheckCompletionAlert(
    const VeskUpdateManualCheckCompletionInput& input) const {
  const std::optional<VeskUpdateAlert> alert = makeManualCheckCompletionAlert(input);
  if (!alert) return {};
  const bool hasBetaToggle = input.updateCheckPerformedOK && input.shouldOfferBetaToggle;
  const VeskUpdateAlertAnswer answer = run(*alert);
  VeskUpdateManualCheckCompletionResult result{
      .didPresentAlert = true, .shouldClearNoUpdatesFoundDialog = true, .selectedBetaToggleState = std::nullopt};
  if (hasBetaToggle) {
    result.selectedBetaToggleState = answer.isSuppressionCheckboxOn.value_or(false);
  }
  return result;
}

void VeskUpdateAlertPresenter::presentUnableToCheckForUpdatesAlert(bool offline,
                                                                   const Bundle& localizationBundle) const {
  static_cast<void>(run(makeUnableToCheckAlert(offline, localizationBundle)));
}

void VeskUpdateAlertPresenter::presentDownloadFailedAlert(const Bundle& localizationBundle,
                                                          const OptionalText& informativeText) const {
  static_cast<void>(run(makeAlert(localizationBundle, VeskUpdateTexts::downloadFailed, informativeText.value_or(""))));
}

VeskUpdateAlert VeskUpdateAlertPresenter::makeInstallationFailedAlert(const Bundle& localizationBundle,
                                                                      const OptionalText& informativeText) const {
  Alert alert = makeInstallationFailure(localizationBundle, informativeText);
  addButton(alert, localizationBundle, VeskUpdateTexts::ok);
  return alert;
}

void VeskUpdateAlertPresenter::presentInstallationFailedAlert(const Bundle& localizationBundle,
                                                              const OptionalText& informativeText) const {
  static_cast<void>(run(makeInstallationFailedAlert(localizationBundle, informativeText)));
}

VeskUpdateAlert VeskUpdateAlertPresenter::makeManualUpdateAlert(const Bundle& localizationBundle,
                                                                const OptionalText& informativeText,
                                                                Phase failurePhase) const {
  Alert alert = failurePhase == Phase::download ? makeDownloadFailureWithFallback(localizationBundle, informativeText)
                                                : makeInstallationFailure(localizationBundle, informativeText);
  addButton(alert, localizationBundle, VeskUpdateTexts::updateManually);
  addButton(alert, localizationBundle, VeskUpdateTexts::cancel);
  return alert;
}

void VeskUpdateAlertPresenter::presentManualUpdateAlert(const Bundle& localizationBundle,
                                                        const OptionalText& informativeText,
                                                        const QuillonURL& manualUpdateURL, Phase failurePhase) const {
  const Alert alert = makeManualUpdateAlert(localizationBundle, informativeText, failurePhase);
  // Copies: the host may destroy this presenter, and what it has called it with, while the alert is up.
  const auto openPage = [openURL = openURL_, page = manualUpdateURL] { return openURL(page); };
  const VeskUpdateAlertAnswer answer = run(alert);
  // A page that cannot be opened leaves the user where the alert found them: there is nothing else to offer.
  if (answer.pressedButton == 0U) static_cast<void>(openPage());
}

VeskUpdateAlert VeskUpdateAlertPresenter::makeUpdateCancelledAlert(const Bundle& localizationBundle) const {
  Alert alert = makeAlert(localizationBundle, VeskUpdateTexts::updateCanceled,
                          localizationBundle.text(VeskUpdateTexts::updateNotInstalled));
  addButton(alert, localizationBundle, VeskUpdateTexts::ok);
  return alert;
}

void VeskUpdateAlertPresenter::presentUpdateCancelledAlert(const Bundle& localizationBundle) const {
  static_cast<void>(run(makeUpdateCancelledAlert(localizationBundle)));
}

VeskUpdateAlertAnswer VeskUpdateAlertPresenter::run(const VeskUpdateAlert& alert) const {
  // A copy: the host may destroy this presenter while the alert is up.
  const auto alertRunner = alertRunner_;
  return alertRunner->run(alert);
}

}  // namespace quillon
