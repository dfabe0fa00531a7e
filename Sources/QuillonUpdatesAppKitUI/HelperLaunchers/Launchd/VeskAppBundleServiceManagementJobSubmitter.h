#pragma once

#include <memory>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdJobSubmitting.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleServiceManagementClient.h"

namespace quillon {

/// Hands jobs to launchd through ServiceManagement.
class VeskAppBundleServiceManagementJobSubmitter final : public VeskAppBundleLaunchdJobSubmitting {
 public:
  explicit VeskAppBundleServiceManagementJobSubmitter(std::shared_ptr<VeskAppBundleServiceManagementClient> client)
      : client_(std::move(client)) {}

  void submit(const VeskAppBundleLaunchdJob& job, const VeskAppBundleLaunchdAuthorization& authorization,
              const std::function<bool()>& shouldProceed) override;

 private:
  const std::shared_ptr<VeskAppBundleServiceManagementClient> client_;
};

}  // namespace quillon
