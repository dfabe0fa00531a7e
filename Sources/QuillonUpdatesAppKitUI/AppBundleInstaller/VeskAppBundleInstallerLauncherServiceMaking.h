#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherProgressXPCProtocol.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherXPCProtocol.h"

namespace quillon {

/// Makes the service for the host process at the other end of a connection, which hears of progress through the sender.
using VeskAppBundleInstallerLauncherServiceMaking =
    std::function<std::shared_ptr<VeskAppBundleInstallerLauncherXPCProtocol>(
        std::int32_t hostProcessIdentifier,
        std::shared_ptr<VeskAppBundleInstallerLauncherProgressXPCProtocol> progressSender)>;

/// The service that `make` makes; null when that throws, with a line in the system's log.
[[nodiscard]] std::shared_ptr<VeskAppBundleInstallerLauncherXPCProtocol> makeServiceOrNone(
    const VeskAppBundleInstallerLauncherServiceMaking& make, std::int32_t hostProcessIdentifier,
    const std::shared_ptr<VeskAppBundleInstallerLauncherProgressXPCProtocol>& progressSender) noexcept;

/// Hands a request to the service. One that it does not take is answered with an empty dictionary, which the host reads
/// as a reply that cannot be read.
void launchReplacementOrRefuse(VeskAppBundleInstallerLauncherXPCProtocol& service,
                               const QuillonPropertyListValue::Dictionary& message,
                               const VeskAppBundleInstallerLauncherXPCProtocol::Reply& reply) noexcept;

}  // namespace quillon
