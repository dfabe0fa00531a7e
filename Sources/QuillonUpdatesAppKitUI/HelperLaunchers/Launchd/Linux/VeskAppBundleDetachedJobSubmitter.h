#pragma once

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdJobSubmitting.h"

namespace quillon {

/// Runs jobs where there is no service manager: as a detached process with this process's own rights, whatever domain
/// the job names, and never more. There is no older job to remove. Submission succeeds when the program is running.
class VeskAppBundleDetachedJobSubmitter final : public VeskAppBundleLaunchdJobSubmitting {
 public:
  void submit(const VeskAppBundleLaunchdJob& job, const VeskAppBundleLaunchdAuthorization& authorization,
              const std::function<bool()>& shouldProceed) override;
};

}  // namespace quillon
