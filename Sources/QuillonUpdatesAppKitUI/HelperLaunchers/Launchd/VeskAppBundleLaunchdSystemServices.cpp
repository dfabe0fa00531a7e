#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdSystemServices.h"

#include <utility>

#include "QuillonCore/Runtime/QuillonLocalizationBundle.h"
#include "QuillonCore/Runtime/QuillonPreferredLanguages.h"
#include "QuillonCore/Runtime/QuillonSystemMonotonicTime.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementOwnershipMatcher.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementProcessPrivilegeChecker.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementWriteProbe.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleWorkspaceRelauncher.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdHelperLauncher.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdRelauncher.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleSecurityAuthorizationProvider.h"

namespace quillon {

std::shared_ptr<VeskAppBundleReplacementRelaunching> makeSystemLaunchdRelauncher(
    const std::optional<VeskAppBundleLaunchdUserContext>& launchUserContext, QuillonDiagnosticLog diagnosticLog) {
  return std::make_shared<VeskAppBundleLaunchdRelauncher>(
      std::make_shared<VeskAppBundleWorkspaceRelauncher>(makeSystemWorkspace()),
      std::make_shared<VeskAppBundleReplacementProcessPrivilegeChecker>(),
      std::make_shared<VeskAppBundleSecurityAuthorizationProvider>(makeSystemSecurityAuthorizationClient()),
      makeSystemLaunchdJobSubmitter(), launchUserContext, makeSystemFileManager(),
      VeskAppBundleRelaunchToolPaths::systemDefault(), std::move(diagnosticLog));
}

std::shared_ptr<VeskAppBundleUpdateHelperLaunching> makeSystemLaunchdHelperLauncher(
    std::shared_ptr<VeskAppBundleSecurityAuthorizationClient> securityClient, std::int32_t hostProcessIdentifier,
    std::function<VeskAppBundleLaunchdUserContext()> launchUserContextProvider,
    const std::shared_ptr<VeskAppBundleInstallerLaunchPhaseBudget>& phaseBudget) {
  const auto fileManager = makeSystemFileManager();
  return std::make_shared<VeskAppBundleLaunchdHelperLauncher>(
      std::make_shared<VeskAppBundleReplacementWriteProbe>(fileManager),
      std::make_shared<VeskAppBundleReplacementOwnershipMatcher>(fileManager),
      std::make_shared<VeskAppBundleSecurityAuthorizationProvider>(std::move(securityClient)),
      makeSystemLaunchdJobSubmitter(), [hostProcessIdentifier] { return hostProcessIdentifier; },
      std::move(launchUserContextProvider), [phaseBudget] { return phaseBudget->preAuthorizationShouldProceed(); },
      [phaseBudget] { phaseBudget->beginPostAuthorizationPhase(); },
      [phaseBudget] { return phaseBudget->postAuthorizationShouldProceed(); }, makeSystemMonotonicTimeProvider(),
      [fileManager](const QuillonURL& applicationURL, std::string_view key) {
        return QuillonLocalizationBundle(fileManager, applicationURL, preferredLanguages()).text(key);
      });
}

}  // namespace quillon
