#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleInstallerLaunchPhase.h"

namespace quillon {

/// What is known of a failed helper launch.
struct VeskAppBundleInstallerFailureDiagnostic {
  VeskAppBundleInstallerLaunchPhase phase = VeskAppBundleInstallerLaunchPhase::messageResolution;
  /// Domain that gives `errorCode` its meaning, such as "NSOSStatusErrorDomain".
  std::optional<std::string> errorDomain;
  std::optional<std::int64_t> errorCode;
  std::optional<std::string> errorDescription;

  /// "phase=… domain=… code=… description=…" without the parts that are absent; an empty description is left out.
  [[nodiscard]] std::string description() const;

  friend bool operator==(const VeskAppBundleInstallerFailureDiagnostic&,
                         const VeskAppBundleInstallerFailureDiagnostic&) = default;
};

}  // namespace quillon
