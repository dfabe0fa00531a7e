#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleSystemdJobSubmitter.h"

#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string_view>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/JobSubmissionFailure.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdManagerConnection.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdUnitName.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleAuthorizationOpaqueRef.h"

namespace quillon {
namespace {

using Interaction = SystemdManagerConnection::Interaction;

/// A unit whose program has ended stays loaded while processes that it started live, such as an opened application.
/// Those must not be ended, so its name is taken for as long; the next name is tried then. A unit whose program still
/// runs would not stop: that program is left alone, and no second one runs beside it.
constexpr int kLargestUnitNumber = 100;
constexpr std::string_view kUnitExists = "org.freedesktop.systemd1.UnitExists";

std::string unitName(const std::string& label, int number) {
  return systemdServiceName(number == 1 ? label : label + "-" + std::to_string(number));
}

/// Whether the unit's own program runs, is about to, or is being stopped.
bool isAlive(const std::optional<std::string>& activeState) {
  return activeState && *activeState != "inactive" && *activeState != "failed";
}

/// Stops and forgets what is left of an older job. Looks first: to stop even a unit that does not exist takes rights,
/// which the manager could ask the user for.
void removeJob(SystemdManagerConnection& manager, const std::string& unit, Interaction interaction) {
  try {
    std::optional<std::string> state = manager.activeState(unit);
    if (isAlive(state)) {
      manager.stopUnit(unit, interaction);
      state = manager.activeState(unit);
    }
    if (state == "failed") manager.resetFailedUnit(unit, interaction);
  } catch (const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): submission fails if that matters
  }
}

/// Whether the manager took the job as `unit`; false when that name is taken.
bool tryToSubmit(SystemdManagerConnection& manager, const std::string& unit, const VeskAppBundleLaunchdJob& job,
                 Interaction interaction, const std::function<bool()>& shouldProceed) {
  removeJob(manager, unit, interaction);
  requireProceeding(shouldProceed);
  try {
    manager.startTransientService(unit, job.label, job.programArguments, interaction);
    return true;
  } catch (const QuillonSystemError& error) {
    if (error.domain() != kUnitExists || isAlive(manager.activeState(unit))) throw;
    return false;
  }
}

void submitTo(SystemdManagerConnection& manager, const VeskAppBundleLaunchdJob& job, Interaction interaction,
              const std::function<bool()>& shouldProceed) {
  for (int number = 1; number <= kLargestUnitNumber; ++number) {
    if (tryToSubmit(manager, unitName(job.label, number), job, interaction, shouldProceed)) return;
  }
  throw QuillonSystemError(std::string(kUnitExists), EEXIST, "Every unit name for " + job.label + " is taken.");
}

}  // namespace

VeskAppBundleSystemdBusAddresses VeskAppBundleSystemdBusAddresses::systemDefault() {
  return {.system = "unix:path=/run/dbus/system_bus_socket",
          .user = "unix:path=/run/user/" + std::to_string(geteuid()) + "/bus"};
}

void VeskAppBundleSystemdJobSubmitter::submit(const VeskAppBundleLaunchdJob& job,
                                              const VeskAppBundleLaunchdAuthorization& authorization,
                                              const std::function<bool()>& shouldProceed) {
  const bool isSystemJob = job.domain == VeskAppBundleLaunchdJobDomain::system;
  const bool mayAsk = isSystemJob && serviceManagementGrant(authorization) == VeskAppBundleRightGrant::once;
  try {
    requireProgram(job);
    SystemdManagerConnection manager(isSystemJob ? addresses_.system : addresses_.user, timeLimit_);
    submitTo(manager, job, mayAsk ? Interaction::allowed : Interaction::forbidden, shouldProceed);
  } catch (const QuillonSystemError& error) {
    throw jobSubmissionFailure(error);
  }
}

}  // namespace quillon
