#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlert.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateManualCheckCompletion.h"

namespace quillon {

enum class VeskUpdateManualUpdateFailurePhase { download, installation };

/// The fixed alerts of an update. What begins with "make" gives the alert, what begins with "present" runs it and acts
/// on the answer. On the main thread only; a presentation returns when the user has answered.
/// The host may destroy this object while an alert is up.
///
/// `informativeText` is the caller's: its control characters are taken out, and only an absent one is replaced by the
/// alert's own text. An empty one is shown as it is.
class VeskUpdateAlertPresenter {
 public:
  /// Opens a page for the user, on the main thread. False when it could not be opened.
  using OpenURL = std::function<bool(const QuillonURL&)>;
  using OptionalText = std::optional<std::string>;

  VeskUpdateAlertPresenter(OpenURL openURL, std::shared_ptr<VeskUpdateAlertRunning> alertRunner);

  /// The end of a check that the user asked for; absent when the host wants no such alert.
  [[nodiscard]] std::optional<VeskUpdateAlert> makeManualCheckCompletionAlert(
      const VeskUpdateManualCheckCompletionInput& input) const;
  [[nodiscard]] VeskUpdateManualCheckCompletionResult presentManualCheckCompletionAlert(
      const VeskUpdateManualCheckCompletionInput& input) const;

  void presentUnableToCheckForUpdatesAlert(bool offline, const VeskUpdateLocalizationBundle& localizationBundle) const;

  void presentDownloadFailedAlert(const VeskUpdateLocalizationBundle& localizationBundle,
                                  const OptionalText& informativeText) const;

  [[nodiscard]] VeskUpdateAlert makeInstallationFailedAlert(const VeskUpdateLocalizationBundle& localizationBundle,
                                                            const OptionalText& informativeText) const;
  void presentInstallationFailedAlert(const VeskUpdateLocalizationBundle& localizationBundle,
                                      const OptionalText& informativeText) const;

  /// The failure of `failurePhase`, with an offer to update by hand.
  [[nodiscard]] VeskUpdateAlert makeManualUpdateAlert(const VeskUpdateLocalizationBundle& localizationBundle,
                                                      const OptionalText& informativeText,
                                                      VeskUpdateManualUpdateFailurePhase failurePhase) const;
  /// Opens `manualUpdateURL` when the user accepts the offer.
  void presentManualUpdateAlert(const VeskUpdateLocalizationBundle& localizationBundle,
                                const OptionalText& informativeText, const QuillonURL& manualUpdateURL,
                                VeskUpdateManualUpdateFailurePhase failurePhase) const;

  /// The user has cancelled the authorization.
  [[nodiscard]] VeskUpdateAlert makeUpdateCancelledAlert(const VeskUpdateLocalizationBundle& localizationBundle) const;
  void presentUpdateCancelledAlert(const VeskUpdateLocalizationBundle& localizationBundle) const;

 private:
  /// Nothing of this presenter may be touched once an alert has run.
  [[nodiscard]] VeskUpdateAlertAnswer run(const VeskUpdateAlert& alert) const;

  const OpenURL openURL_;
  const std::shared_ptr<VeskUpdateAlertRunning> alertRunner_;
};

}  // namespace quillon
