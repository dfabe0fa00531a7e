#pragma once

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdJobSubmitting.h"

#include <functional>
#include <memory>

namespace quillon {

/// Hands jobs to systemd where it is this machine's manager, and runs them detached everywhere else.
class VeskAppBundleSystemJobSubmitter final : public VeskAppBundleLaunchdJobSubmitting {
 public:
  VeskAppBundleSystemJobSubmitter();
  VeskAppBundleSystemJobSubmitter(std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> systemdSubmitter,
                                  std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> detachedSubmitter,
                                  std::function<bool()> systemdIsManager);

  void submit(const VeskAppBundleLaunchdJob& job, const VeskAppBundleLaunchdAuthorization& authorization,
              const std::function<bool()>& shouldProceed) override;

 private:
  const std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> systemdSubmitter_;
  const std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> detachedSubmitter_;
  const std::function<bool()> systemdIsManager_;
};

}  // namespace quillon
