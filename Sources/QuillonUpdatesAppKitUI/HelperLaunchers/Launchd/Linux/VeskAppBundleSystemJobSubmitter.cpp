#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleSystemJobSubmitter.h"

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleDetachedJobSubmitter.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleSystemdJobSubmitter.h"

#include <utility>

#include <systemd/sd-daemon.h>

namespace quillon {

VeskAppBundleSystemJobSubmitter::VeskAppBundleSystemJobSubmitter()
    : VeskAppBundleSystemJobSubmitter(std::make_shared<VeskAppBundleSystemdJobSubmitter>(),
                                      std::make_shared<VeskAppBundleDetachedJobSubmitter>(),
                                      // Looks for the folder /run/systemd/system.
                                      [] { return sd_booted() > 0; }) {}

VeskAppBundleSystemJobSubmitter::VeskAppBundleSystemJobSubmitter(
    std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> systemdSubmitter,
    std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> detachedSubmitter, std::function<bool()> systemdIsManager)
    : systemdSubmitter_(std::move(systemdSubmitter)),
      detachedSubmitter_(std::move(detachedSubmitter)),
      systemdIsManager_(std::move(systemdIsManager)) {}

void VeskAppBundleSystemJobSubmitter::submit(const VeskAppBundleLaunchdJob& job,
                                             const VeskAppBundleLaunchdAuthorization& authorization,
                                             const std::function<bool()>& shouldProceed) {
  const auto& submitter = systemdIsManager_() ? systemdSubmitter_ : detachedSubmitter_;
  submitter->submit(job, authorization, shouldProceed);
}

}  // namespace quillon
