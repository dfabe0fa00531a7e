#pragma once

#include <optional>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdAuthorization.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdJob.h"

namespace quillon {

/// The calls of ServiceManagement. They wait for launchd, and may be made on any thread.
class VeskAppBundleServiceManagementClient {
 public:
  struct Submission {
    bool wasTaken = false;
    /// What the system said when it did not take the job; it may say nothing.
    std::optional<QuillonSystemError> error;
  };

  virtual ~VeskAppBundleServiceManagementClient() = default;

  /// `SMJobRemove` for the job's label in its domain, waiting for completion. Whether there was such a job is not told.
  virtual void removeJob(const VeskAppBundleLaunchdJob& job,
                         VeskAppBundleAuthorizationRef authorizationRef) noexcept = 0;

  /// `SMJobSubmit` with the job's dictionary.
  [[nodiscard]] virtual Submission submitJob(const VeskAppBundleLaunchdJob& job,
                                             VeskAppBundleAuthorizationRef authorizationRef) = 0;
};

}  // namespace quillon
