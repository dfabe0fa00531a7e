#pragma once

#include <functional>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdAuthorization.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdJob.h"

namespace quillon {

/// Hands jobs to the service manager.
class VeskAppBundleLaunchdJobSubmitting {
 public:
  virtual ~VeskAppBundleLaunchdJobSubmitting() = default;

  /// Removes what is left of an older job of the same label, asks `shouldProceed`, and only if that answers true
  /// submits `job`. Returns when the manager has taken the job.
  ///
  /// Throws VeskUpdateInstallerError::replacementHelperLaunchTimedOut(postAuthorization) when `shouldProceed` answers
  /// false, and replacementHelperLaunchFailed with a diagnostic of phase jobSubmission when the manager refuses.
  virtual void submit(const VeskAppBundleLaunchdJob& job, const VeskAppBundleLaunchdAuthorization& authorization,
                      const std::function<bool()>& shouldProceed) = 0;
};

}  // namespace quillon
