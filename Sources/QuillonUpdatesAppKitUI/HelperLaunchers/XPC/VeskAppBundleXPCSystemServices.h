#pragma once

#include <memory>

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionMaking.h"

namespace quillon {

/// The platform's way to the launcher service inside the application bundle at `hostBundleURL`.
[[nodiscard]] std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnectionMaking>
makeSystemInstallerLauncherServiceConnectionFactory(const QuillonURL& hostBundleURL);

}  // namespace quillon
