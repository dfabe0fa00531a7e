#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCSystemServices.h"

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleNSXPCInstallerLauncherServiceConnectionFactory.h"

namespace quillon {

std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnectionMaking>
makeSystemInstallerLauncherServiceConnectionFactory(const QuillonURL& /*hostBundleURL*/) {
  // The system looks in the application that asks, and nowhere else.
  return std::make_shared<VeskAppBundleNSXPCInstallerLauncherServiceConnectionFactory>();
}

}  // namespace quillon
