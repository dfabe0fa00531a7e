#pragma once

#include <memory>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Contracts/QuillonTimerScheduling.h"
#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"

namespace sample {

/// Has the launcher service in the application's own bundle start the installer.
[[nodiscard]] std::shared_ptr<quillon::VeskAppBundleUpdateHelperLaunching> makeUpdateLauncher(
    const quillon::QuillonFileManaging& files, const quillon::QuillonURL& bundle,
    std::shared_ptr<quillon::QuillonTimerScheduling> timers);

}  // namespace sample
