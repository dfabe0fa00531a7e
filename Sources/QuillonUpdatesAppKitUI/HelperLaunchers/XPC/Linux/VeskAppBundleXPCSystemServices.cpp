#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCSystemServices.h"

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleBusInstallerLauncherServiceConnectionFactory.h"

namespace quillon {

std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnectionMaking>
makeSystemInstallerLauncherServiceConnectionFactory(const QuillonURL& hostBundleURL) {
  return std::make_shared<VeskAppBundleBusInstallerLauncherServiceConnectionFactory>(hostBundleURL);
}

}  // namespace quillon
