#pragma once

#include <memory>
#include <optional>
#include <string>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateLocalizationBundle.h"

namespace quillon {

/// How a check that the user asked for ended without an offer.
struct VeskUpdateManualCheckCompletionInput {
  bool shouldShowNoUpdatesFoundDialog = false;
  bool updateCheckPerformedOK = false;
  std::string applicationName;
  bool shouldOfferBetaToggle = false;
  bool betaToggleEnabled = false;
  /// Where texts are looked up. Never null.
  std::shared_ptr<const VeskUpdateLocalizationBundle> localizationBundle;
};

/// What a host remembers after the alert.
struct VeskUpdateManualCheckCompletionResult {
  bool didPresentAlert = false;
  bool shouldClearNoUpdatesFoundDialog = false;
  /// The preference to store; absent when it was not offered.
  std::optional<bool> selectedBetaToggleState;

  friend bool operator==(const VeskUpdateManualCheckCompletionResult&,
                         const VeskUpdateManualCheckCompletionResult&) = default;
};

}  // namespace quillon
