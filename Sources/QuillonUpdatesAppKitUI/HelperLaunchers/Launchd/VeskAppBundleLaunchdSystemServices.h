#pragma once

#include <memory>
#include <optional>

#include "QuillonCore/Runtime/QuillonSystemLog.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleLaunchdUserContext.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRelaunching.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdJobSubmitting.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleSecurityAuthorizationClient.h"

namespace quillon {

/// The platform's authorization services.
[[nodiscard]] std::shared_ptr<VeskAppBundleSecurityAuthorizationClient> makeSystemSecurityAuthorizationClient();
/// The platform's service manager.
[[nodiscard]] std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> makeSystemLaunchdJobSubmitter();

/// The relauncher on the platform's own services, for the user given.
[[nodiscard]] std::shared_ptr<VeskAppBundleReplacementRelaunching> makeSystemLaunchdRelauncher(
    const std::optional<VeskAppBundleLaunchdUserContext>& launchUserContext, QuillonDiagnosticLog diagnosticLog);

}  // namespace quillon
