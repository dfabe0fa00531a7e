#pragma once

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateHostIdentity.h"

namespace quillon {

/// Says who the host is, without believing its message.
class VeskAppBundleInstallerLauncherServiceHostIdentityResolving {
 public:
  virtual ~VeskAppBundleInstallerLauncherServiceHostIdentityResolving() = default;

  /// The identity that the update of the application at `containingApplicationURL` is to be checked against, never
  /// less strict than `requestedIdentity`. Throws VeskAppBundleInstallerLauncherServiceRefusal. May be called from any
  /// thread.
  [[nodiscard]] virtual VeskAppBundleUpdateHostIdentity makeHostIdentity(
      const QuillonURL& containingApplicationURL, const VeskAppBundleUpdateHostIdentity& requestedIdentity) const = 0;
};

}  // namespace quillon
