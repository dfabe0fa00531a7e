#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdSystemServices.h"

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleProcessRightsAuthorizationClient.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleSystemJobSubmitter.h"

namespace quillon {

std::shared_ptr<VeskAppBundleSecurityAuthorizationClient> makeSystemSecurityAuthorizationClient() {
  return std::make_shared<VeskAppBundleProcessRightsAuthorizationClient>();
}

std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> makeSystemLaunchdJobSubmitter() {
  return std::make_shared<VeskAppBundleSystemJobSubmitter>();
}

}  // namespace quillon
