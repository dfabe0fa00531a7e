#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleLaunchdUserContext.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRequest.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateHostIdentity.h"

namespace quillon {

/// Everything that the installer's command line says.
struct QuillonUpdateInstallerArguments {
  QuillonURL stagedApplicationURL;
  QuillonURL installedApplicationURL;
  std::int32_t hostProcessIdentifier = 0;
  bool shouldRequestAuthorizationIfNeeded = false;
  VeskAppBundleUpdateHostIdentity hostIdentity;
  std::optional<VeskAppBundleLaunchdUserContext> launchUserContext;
  std::optional<QuillonURL> failureReportURL;
  std::optional<std::string> failureReportAttemptIdentifier;

  /// Reads the arguments after the program name. Of an option given twice the last one counts; unknown options with a
  /// value and words that belong to no option are passed over. Throws the QuillonUpdateInstallerArgumentError of the
  /// first problem.
  [[nodiscard]] static QuillonUpdateInstallerArguments parse(const std::vector<std::string>& arguments);

  /// The replacement that the command line asks for.
  [[nodiscard]] VeskAppBundleReplacementRequest replacementRequest() const;

  friend bool operator==(const QuillonUpdateInstallerArguments&, const QuillonUpdateInstallerArguments&) = default;
};

}  // namespace quillon
