#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherProgressReceiver.h"

#include <utility>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"

namespace quillon {

VeskAppBundleInstallerLauncherProgressReceiver::VeskAppBundleInstallerLauncherProgressReceiver(
    VeskAppBundleInstallerLaunchProgressHandler progressHandler)
    : progressHandler_(std::move(progressHandler)) {}

void VeskAppBundleInstallerLauncherProgressReceiver::reportProgress(
    const QuillonPropertyListValue::Dictionary& progress) {
  if (const auto event = installerLaunchProgress(progress)) progressHandler_(*event);
}

}  // namespace quillon
