#pragma once

#include <functional>
#include <memory>
#include <string>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnection.h"

namespace quillon {

/// Makes connections to launcher services.
class VeskAppBundleInstallerLauncherServiceConnectionMaking {
 public:
  /// Hears, at most once, that the connection is at its end without having been invalidated by its owner.
  using ErrorHandler = std::function<void(const QuillonSystemError&)>;

  virtual ~VeskAppBundleInstallerLauncherServiceConnectionMaking() = default;

  /// A connection, not resumed, to the service `serviceName`; null when there is no such service. From any thread.
  [[nodiscard]] virtual std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection> make(
      const std::string& serviceName, ErrorHandler errorHandler,
      VeskAppBundleInstallerLaunchProgressHandler progressHandler) noexcept = 0;
};

}  // namespace quillon
