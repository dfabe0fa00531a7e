#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdSystemServices.h"

#include <unistd.h>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundlePolkitAuthorizationClient.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleProcessRightsAuthorizationClient.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleSystemJobSubmitter.h"

namespace quillon {

std::shared_ptr<VeskAppBundleSecurityAuthorizationClient> makeSystemSecurityAuthorizationClient() {
  // Root needs nobody's permission, and must be able to start the application again where no bus runs.
  if (geteuid() == 0) return std::make_shared<VeskAppBundleProcessRightsAuthorizationClient>();
  return std::make_shared<VeskAppBundlePolkitAuthorizationClient>();
}

std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> makeSystemLaunchdJobSubmitter() {
  return std::make_shared<VeskAppBundleSystemJobSubmitter>();
}

}  // namespace quillon
