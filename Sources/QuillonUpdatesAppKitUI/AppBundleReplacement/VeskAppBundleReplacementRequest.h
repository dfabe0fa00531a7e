#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleLaunchdUserContext.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateHostIdentity.h"

namespace quillon {

/// A request to replace an installed application bundle by a staged one.
struct VeskAppBundleReplacementRequest {
  /// The unpacked candidate, not yet validated.
  QuillonURL stagedApplicationURL;
  QuillonURL installedApplicationURL;
  /// The installer command; absent where the request is handled inside the installer itself.
  std::optional<QuillonURL> helperExecutableURL;
  std::optional<VeskAppBundleUpdateHostIdentity> hostIdentity;
  /// Whether the launcher may ask for administrator rights when the user cannot replace the bundle.
  bool shouldRequestAuthorizationIfNeeded = false;
  /// User in whose session the application is started again.
  std::optional<VeskAppBundleLaunchdUserContext> launchUserContext;
  /// Where the installer leaves its failure report.
  std::optional<QuillonURL> failureReportURL;
  /// Identifier of this attempt, copied into the report.
  std::optional<std::string> failureReportAttemptIdentifier;

  /// The installer command's arguments, without the program name, for a host process. `launchUser` and `reportURL`,
  /// where given, win over the request's own.
  [[nodiscard]] std::vector<std::string> helperArguments(
      std::int32_t hostProcessIdentifier,
      const std::optional<VeskAppBundleLaunchdUserContext>& launchUser = std::nullopt,
      const std::optional<QuillonURL>& reportURL = std::nullopt) const;

  friend bool operator==(const VeskAppBundleReplacementRequest&, const VeskAppBundleReplacementRequest&) = default;
};

}  // namespace quillon
