#pragma once

#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceMaking.h"

namespace quillon {

/// Whether launchd started this process as an XPC service.
[[nodiscard]] bool processIsXPCService() noexcept;

/// Serves every connection to the XPC service that this process is (`NSXPCListener`), each with a service of its own,
/// on threads of the system. Refuses a host of another user. Does not return: the system ends the process.
///
/// A service goes with its connection, and waits for the launches that are still under way.
void serveXPCConnections(const VeskAppBundleInstallerLauncherServiceMaking& makeService) noexcept;

}  // namespace quillon
