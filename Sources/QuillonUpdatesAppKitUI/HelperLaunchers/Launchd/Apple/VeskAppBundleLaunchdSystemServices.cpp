#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdSystemServices.h"

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Apple/VeskAppBundleSystemAuthorizationClient.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Apple/VeskAppBundleSystemServiceManagementClient.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleServiceManagementJobSubmitter.h"

namespace quillon {

std::shared_ptr<VeskAppBundleSecurityAuthorizationClient> makeSystemSecurityAuthorizationClient() {
  return std::make_shared<VeskAppBundleSystemAuthorizationClient>();
}

std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> makeSystemLaunchdJobSubmitter() {
  return std::make_shared<VeskAppBundleServiceManagementJobSubmitter>(
      std::make_shared<VeskAppBundleSystemServiceManagementClient>());
}

}  // namespace quillon
