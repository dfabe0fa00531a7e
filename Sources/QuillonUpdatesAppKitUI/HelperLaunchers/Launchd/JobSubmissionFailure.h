#pragma once

#include <functional>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdJob.h"

namespace quillon {

/// replacementHelperLaunchFailed with a diagnostic of phase jobSubmission that carries `error`.
[[nodiscard]] VeskUpdateInstallerError jobSubmissionFailure(const QuillonSystemError& error);

/// Throws QuillonSystemError (EINVAL) for a job that names no program by an absolute path.
void requireProgram(const VeskAppBundleLaunchdJob& job);

/// Throws replacementHelperLaunchTimedOut(postAuthorization) when `shouldProceed` answers false.
void requireProceeding(const std::function<bool()>& shouldProceed);

}  // namespace quillon
