#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceMaking.h"

#include <exception>

#include "QuillonCore/Runtime/QuillonSystemLog.h"

namespace quillon {

std::shared_ptr<VeskAppBundleInstallerLauncherXPCProtocol> makeServiceOrNone(
    const VeskAppBundleInstallerLauncherServiceMaking& make, std::int32_t hostProcessIdentifier,
    const std::shared_ptr<VeskAppBundleInstallerLauncherProgressXPCProtocol>& progressSender) noexcept {
  try {
    return make(hostProcessIdentifier, progressSender);
  } catch (const std::exception& error) {
    writeToSystemLog(error.what());
    return nullptr;
  }
}

void launchReplacementOrRefuse(VeskAppBundleInstallerLauncherXPCProtocol& service,
                               const QuillonPropertyListValue::Dictionary& message,
                               const VeskAppBundleInstallerLauncherXPCProtocol::Reply& reply) noexcept {
  try {
    service.launchReplacement(message, reply);
  } catch (const std::exception& error) {
    writeToSystemLog(error.what());
    reply({});
  }
}

}  // namespace quillon
