#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdSystemServices.h"

#include <utility>

#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementProcessPrivilegeChecker.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleWorkspaceRelauncher.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdRelauncher.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleSecurityAuthorizationProvider.h"

namespace quillon {

std::shared_ptr<VeskAppBundleReplacementRelaunching> makeSystemLaunchdRelauncher(
    const std::optional<VeskAppBundleLaunchdUserContext>& launchUserContext, QuillonDiagnosticLog diagnosticLog) {
  return std::make_shared<VeskAppBundleLaunchdRelauncher>(
      std::make_shared<VeskAppBundleWorkspaceRelauncher>(makeSystemWorkspace()),
      std::make_shared<VeskAppBundleReplacementProcessPrivilegeChecker>(),
      std::make_shared<VeskAppBundleSecurityAuthorizationProvider>(makeSystemSecurityAuthorizationClient()),
      makeSystemLaunchdJobSubmitter(), launchUserContext,
      [fileManager = makeSystemFileManager()](const QuillonURL& bundle) {
        return bundleInformationText(*fileManager, bundle, "CFBundleIdentifier");
      },
      VeskAppBundleRelaunchToolPaths::systemDefault(), std::move(diagnosticLog));
}

}  // namespace quillon
