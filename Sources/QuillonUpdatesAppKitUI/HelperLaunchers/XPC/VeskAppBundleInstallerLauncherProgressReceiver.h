#pragma once

#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherProgressXPCProtocol.h"

namespace quillon {

/// What the host offers the service on their connection: hands each event that can be read to the handler, on the same
/// thread, and passes the others over.
class VeskAppBundleInstallerLauncherProgressReceiver final : public VeskAppBundleInstallerLauncherProgressXPCProtocol {
 public:
  explicit VeskAppBundleInstallerLauncherProgressReceiver(VeskAppBundleInstallerLaunchProgressHandler progressHandler);

  void reportProgress(const QuillonPropertyListValue::Dictionary& progress) override;

 private:
  const VeskAppBundleInstallerLaunchProgressHandler progressHandler_;
};

}  // namespace quillon
