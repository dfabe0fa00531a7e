#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleSystemdJobSubmitter.h"

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/JobSubmissionFailure.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdManagerConnection.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdUnitName.h"

#include <unistd.h>

namespace quillon {
namespace {

/// Stops and forgets what is left of an older job.
void removeJob(SystemdManagerConnection& manager, const std::string& unit) {
  try {
    manager.stopUnit(unit);
  } catch (const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): there is usually no such job
  }
  try {
    manager.resetFailedUnit(unit);
  } catch (const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): nor one that failed
  }
}

}  // namespace

VeskAppBundleSystemdBusAddresses VeskAppBundleSystemdBusAddresses::systemDefault() {
  return {.system = "unix:path=/run/dbus/system_bus_socket",
          .user = "unix:path=/run/user/" + std::to_string(geteuid()) + "/bus"};
}

void VeskAppBundleSystemdJobSubmitter::submit(const VeskAppBundleLaunchdJob& job,
                                              const VeskAppBundleLaunchdAuthorization& /*authorization*/,
                                              const std::function<bool()>& shouldProceed) {
  const bool isSystemJob = job.domain == VeskAppBundleLaunchdJobDomain::system;
  const std::string unit = systemdServiceName(job.label);
  try {
    requireProgram(job);
    SystemdManagerConnection manager(isSystemJob ? addresses_.system : addresses_.user, timeLimit_);
    removeJob(manager, unit);
    requireProceeding(shouldProceed);
    manager.startTransientService(unit, job.label, job.programArguments);
  } catch (const QuillonSystemError& error) {
    throw jobSubmissionFailure(error);
  }
}

}  // namespace quillon
