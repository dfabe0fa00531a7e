#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateLocalizationBundle.h"

namespace quillon {

/// What the prompt offers, to whom.
struct VeskUpdatePromptInput {
  /// The entry to offer, with the keys of VeskUpdateFeedKeys.
  QuillonPropertyListValue::Dictionary feed;
  /// The user asked for the check.
  bool isManualCheck = false;
  /// The install button may be offered.
  bool allowInstallAction = false;
  /// As users know the host application.
  std::string applicationName;
  /// Running version.
  std::string applicationVersion;
  /// Running build number.
  std::int64_t applicationBuild = 0;
  /// Name of the image in the window.
  std::string applicationLogoImageName;
  /// Where texts are looked up. Never null.
  std::shared_ptr<const VeskUpdateLocalizationBundle> localizationBundle;
  /// Size of the window in points where the entry sets none.
  double defaultWindowWidth = 0;
  double defaultWindowHeight = 0;
};

}  // namespace quillon
