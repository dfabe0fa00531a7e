#pragma once

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleServiceManagementClient.h"

namespace quillon {

/// The operating system's own ServiceManagement.
class VeskAppBundleSystemServiceManagementClient final : public VeskAppBundleServiceManagementClient {
 public:
  void removeJob(const VeskAppBundleLaunchdJob& job, VeskAppBundleAuthorizationRef authorizationRef) noexcept override;
  /// A job with text that is not UTF-8 is refused with the POSIX error EILSEQ.
  [[nodiscard]] Submission submitJob(const VeskAppBundleLaunchdJob& job,
                                     VeskAppBundleAuthorizationRef authorizationRef) override;
};

}  // namespace quillon
