#pragma once

#include <functional>
#include <memory>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdJobSubmitting.h"

namespace quillon {

/// Hands jobs to systemd where it manages their domain, and runs them detached everywhere else: on machines without
/// systemd, and for a user who has no manager of its own, as root usually has none.
///
/// A job for the system under an authorization that was not granted the right to it, because none was needed, runs in
/// the user's domain: with this process's own rights.
class VeskAppBundleSystemJobSubmitter final : public VeskAppBundleLaunchdJobSubmitting {
 public:
  using SystemdManages = std::function<bool(VeskAppBundleLaunchdJobDomain domain)>;

  VeskAppBundleSystemJobSubmitter();
  VeskAppBundleSystemJobSubmitter(std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> systemdSubmitter,
                                  std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> detachedSubmitter,
                                  SystemdManages systemdManages);

  void submit(const VeskAppBundleLaunchdJob& job, const VeskAppBundleLaunchdAuthorization& authorization,
              const std::function<bool()>& shouldProceed) override;

 private:
  const std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> systemdSubmitter_;
  const std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> detachedSubmitter_;
  const SystemdManages systemdManages_;
};

}  // namespace quillon
