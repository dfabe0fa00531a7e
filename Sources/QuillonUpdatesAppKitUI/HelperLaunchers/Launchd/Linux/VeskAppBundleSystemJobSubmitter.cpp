#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleSystemJobSubmitter.h"

#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <string>
#include <utility>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleAuthorizationOpaqueRef.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleDetachedJobSubmitter.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleSystemdJobSubmitter.h"

namespace quillon {
namespace {

bool systemdManages(VeskAppBundleLaunchdJobDomain domain) {
  if (sd_booted() <= 0) return false;  // looks for the folder /run/systemd/system
  if (domain == VeskAppBundleLaunchdJobDomain::system) return true;
  return access(("/run/user/" + std::to_string(geteuid()) + "/bus").c_str(), F_OK) == 0;
}

}  // namespace

VeskAppBundleSystemJobSubmitter::VeskAppBundleSystemJobSubmitter()
    : VeskAppBundleSystemJobSubmitter(std::make_shared<VeskAppBundleSystemdJobSubmitter>(),
                                      std::make_shared<VeskAppBundleDetachedJobSubmitter>(), systemdManages) {}

VeskAppBundleSystemJobSubmitter::VeskAppBundleSystemJobSubmitter(
    std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> systemdSubmitter,
    std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> detachedSubmitter, SystemdManages systemdManages)
    : systemdSubmitter_(std::move(systemdSubmitter)),
      detachedSubmitter_(std::move(detachedSubmitter)),
      systemdManages_(std::move(systemdManages)) {}

void VeskAppBundleSystemJobSubmitter::submit(const VeskAppBundleLaunchdJob& job,
                                             const VeskAppBundleLaunchdAuthorization& authorization,
                                             const std::function<bool()>& shouldProceed) {
  VeskAppBundleLaunchdJob permittedJob = job;
  if (serviceManagementGrant(authorization) == VeskAppBundleRightGrant::none) {
    permittedJob.domain = VeskAppBundleLaunchdJobDomain::user;
  }
  const auto& submitter = systemdManages_(permittedJob.domain) ? systemdSubmitter_ : detachedSubmitter_;
  submitter->submit(permittedJob, authorization, shouldProceed);
}

}  // namespace quillon
