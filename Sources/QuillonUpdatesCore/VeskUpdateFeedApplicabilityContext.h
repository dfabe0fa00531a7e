#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>

#include "QuillonCore/Values/QuillonDate.h"

namespace quillon {

/// What a host knows when it asks whether an entry concerns this installation.
struct VeskUpdateFeedApplicabilityContext {
  std::string appVersion;
  /// Build number of the running application; below 1 when it is unknown.
  std::int64_t appBuild = 0;
  std::string currentOSVersion;
  /// Code of the language that the user prefers, such as "de".
  std::optional<std::string> preferredLanguageCode;
  /// Values of VeskUpdateFeedKeys::sku that this build takes.
  std::set<std::string, std::less<>> acceptedSKUs;
  bool canProcessUpdateFeeds = false;
  /// The user asked for this check.
  bool isManualCheck = false;
  bool checkForBetaReleasesEnabled = false;
  /// Whether entries are held back by `userStaggerGroup`.
  bool shouldApplyUserStaggering = false;
  /// Days, from its release day, that an entry is held back for this user.
  std::int64_t userStaggerGroup = 0;
  QuillonDate now{};
  /// Skips every test of ranges, distribution, language and version.
  bool debugBypassApplicabilityChecks = false;

  friend bool operator==(const VeskUpdateFeedApplicabilityContext&,
                         const VeskUpdateFeedApplicabilityContext&) = default;
};

}  // namespace quillon
