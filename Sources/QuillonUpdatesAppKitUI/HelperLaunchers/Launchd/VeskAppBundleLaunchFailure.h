#pragma once

#include <exception>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleReplacementLaunchResult.h"

namespace quillon {

/// What a launch that `error` ended in `phase` comes to.
///
/// Each installer error that a result has a case for becomes that case with its payload; an authorization that failed
/// without status has the usual one. Everything else, cancellation included, is launchFailed with a diagnostic of
/// `phase`: no case stands for it, and a launch always has a result.
[[nodiscard]] VeskAppBundleReplacementLaunchResult launchFailureResult(
    const std::exception_ptr& error, VeskAppBundleInstallerLaunchPhase phase) noexcept;

}  // namespace quillon
