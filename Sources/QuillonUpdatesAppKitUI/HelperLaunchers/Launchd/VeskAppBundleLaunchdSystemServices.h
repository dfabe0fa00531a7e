#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "QuillonCore/Runtime/QuillonSystemLog.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleLaunchdUserContext.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRelaunching.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdJobSubmitting.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleSecurityAuthorizationClient.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleInstallerLaunchPhaseBudget.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"

namespace quillon {

/// The platform's authorization services. A process makes this once: only a client can keep apart what is granted to
/// one launch and to another, because the system may grant it to the whole process.
[[nodiscard]] std::shared_ptr<VeskAppBundleSecurityAuthorizationClient> makeSystemSecurityAuthorizationClient();
/// The platform's service manager.
[[nodiscard]] std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> makeSystemLaunchdJobSubmitter();

/// The relauncher on the platform's own services, for the user given.
[[nodiscard]] std::shared_ptr<VeskAppBundleReplacementRelaunching> makeSystemLaunchdRelauncher(
    const std::optional<VeskAppBundleLaunchdUserContext>& launchUserContext, QuillonDiagnosticLog diagnosticLog);

/// The launcher on the platform's own services, for one launch within `phaseBudget`, which obtains its rights from
/// `securityClient`, the one of this process. `launchUserContextProvider` says whose session the application is started
/// in when a request does not.
[[nodiscard]] std::shared_ptr<VeskAppBundleUpdateHelperLaunching> makeSystemLaunchdHelperLauncher(
    std::shared_ptr<VeskAppBundleSecurityAuthorizationClient> securityClient, std::int32_t hostProcessIdentifier,
    std::function<VeskAppBundleLaunchdUserContext()> launchUserContextProvider,
    const std::shared_ptr<VeskAppBundleInstallerLaunchPhaseBudget>& phaseBudget);

}  // namespace quillon
