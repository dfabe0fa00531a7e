#pragma once

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionMaking.h"

namespace quillon {

/// Makes connections to the XPC services of the running application: bundles in its folder Contents/XPCServices, found
/// by the system by their bundle identifiers. There is always a connection but for an empty name or one that is not
/// UTF-8.
class VeskAppBundleNSXPCInstallerLauncherServiceConnectionFactory final
    : public VeskAppBundleInstallerLauncherServiceConnectionMaking {
 public:
  [[nodiscard]] std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection> make(
      const std::string& serviceName, ErrorHandler errorHandler,
      VeskAppBundleInstallerLaunchProgressHandler progressHandler) noexcept override;
};

}  // namespace quillon
