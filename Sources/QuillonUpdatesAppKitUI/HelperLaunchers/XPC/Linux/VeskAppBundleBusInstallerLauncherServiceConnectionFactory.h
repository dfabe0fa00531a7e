#pragma once

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionMaking.h"

namespace quillon {

/// Starts the launcher service of a host for each connection, as a process that is no child of this one and outlives
/// it if it must: out of reach of its terminal, and never a zombie. It gets its end of the connection as its descriptor
/// 3, the environment that this process's rights allow, and nothing else.
///
/// The service of the name N is the file
/// Contents/XPCServices/N.xpc/Contents/MacOS/QuillonUpdateInstallerLauncherService in the host's bundle. There is none
/// when that cannot be executed, or when N is no single component of a path.
class VeskAppBundleBusInstallerLauncherServiceConnectionFactory final
    : public VeskAppBundleInstallerLauncherServiceConnectionMaking {
 public:
  explicit VeskAppBundleBusInstallerLauncherServiceConnectionFactory(QuillonURL hostBundleURL);

  /// Returns when the service's program runs.
  [[nodiscard]] std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection> make(
      const std::string& serviceName, ErrorHandler errorHandler,
      VeskAppBundleInstallerLaunchProgressHandler progressHandler) noexcept override;

 private:
  const QuillonURL hostBundleURL_;
};

}  // namespace quillon
