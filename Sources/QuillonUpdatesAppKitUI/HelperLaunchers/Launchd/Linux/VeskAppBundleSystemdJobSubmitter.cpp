#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleSystemdJobSubmitter.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/Posix/QuillonProcessEnvironment.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/JobSubmissionFailure.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdManagementRights.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdManagerConnection.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdUnitEnvironment.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdUnitName.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleAuthorizationOpaqueRef.h"

namespace quillon {
namespace {

using Interaction = SystemdManagerConnection::Interaction;

/// A unit whose program has ended stays loaded while processes that it started live, such as an opened application.
/// Those must not be ended, so its name is taken for as long, and another one is numbered.
constexpr int kLargestUnitNumber = 100;
constexpr std::string_view kUnitExists = "org.freedesktop.systemd1.UnitExists";

std::string unitName(const std::string& label, int number) {
  return systemdServiceName(number == 1 ? label : label + "-" + std::to_string(number));
}

/// Whether the unit's own program runs, is about to, or is being stopped.
bool isAlive(const SystemdUnitState& unit) {
  return unit.hasJob || (unit.activeState != "inactive" && unit.activeState != "failed");
}

bool hasFailed(const SystemdUnitState& unit) {
  return unit.activeState == "failed";
}

/// One job on its way to a manager.
class Submission {
 public:
  using Units = std::map<std::string, SystemdUnitState>;

  /// `mayChangeUnitsSilently` says whether the manager stops a unit without a dialog.
  Submission(SystemdManagerConnection& manager, const VeskAppBundleLaunchdJob& job,
             const std::vector<std::string>& environment, Interaction interaction,
             const std::function<bool()>& mayChangeUnitsSilently)
      : manager_(manager),
        job_(job),
        environment_(environment),
        interaction_(interaction),
        mayChangeUnitsSilently_(mayChangeUnitsSilently) {}

  void run(const std::function<bool()>& shouldProceed) {
    const Units older = removeOlderUnits();
    requireProceeding(shouldProceed);
    const auto living = std::ranges::find_if(older, isAlive, &Units::value_type::second);
    if (living != older.end()) throw unitExists("An older job still runs as " + living->first + ".");
    const std::string unit = start(older);
    // Where the manager asked, it started the job only after the answer, which may have come at any time.
    if (interaction_ == Interaction::allowed) requireStillProceeding(shouldProceed, unit);
  }

 private:
  static QuillonSystemError unitExists(const std::string& description) {
    return {std::string(kUnitExists), EEXIST, description};
  }

  /// The units of every number that the manager has for the job's label.
  [[nodiscard]] Units olderUnits() const {
    std::vector<std::string> patterns = {unitName(job_.label, 1), systemdServiceName(job_.label + "-")};
    patterns[1].insert(patterns[1].rfind('.'), "*");
    // Manager and pattern need not agree on what a backslash is for; units of other labels are sorted out below.
    for (std::string& pattern : patterns) std::ranges::replace(pattern, '\\', '?');
    Units loaded = manager_.unitStates(patterns);
    Units units;
    for (int number = 1; number <= kLargestUnitNumber; ++number) {
      units.insert(loaded.extract(unitName(job_.label, number)));
    }
    return units;
  }

  /// Stops and forgets what is left of older jobs; what is left all the same. Looks first: to stop even a unit that
  /// does not exist takes rights, which the manager would ask the user for.
  [[nodiscard]] Units removeOlderUnits() {
    Units units = olderUnits();
    if (std::ranges::none_of(units, [](const auto& unit) { return isAlive(unit.second) || hasFailed(unit.second); })) {
      return units;
    }
    if (interaction_ == Interaction::forbidden && !mayChangeUnitsSilently_()) return units;
    forEach(units, isAlive, [this](const std::string& unit) { manager_.stopUnit(unit, interaction_); });
    forEach(olderUnits(), hasFailed, [this](const std::string& unit) { manager_.resetFailedUnit(unit, interaction_); });
    return olderUnits();
  }

  static void forEach(const Units& units, bool (*isMeant)(const SystemdUnitState&),
                      const std::function<void(const std::string&)>& change) {
    for (const auto& unit : units) {
      try {
        if (isMeant(unit.second)) change(unit.first);
      } catch (const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): what is left says whether that matters
      }
    }
  }

  /// The name of the unit that runs.
  [[nodiscard]] std::string start(const Units& older) {
    for (int number = 1; number <= kLargestUnitNumber; ++number) {
      std::string unit = unitName(job_.label, number);
      if (!older.contains(unit) && tryToStart(unit)) return unit;
    }
    throw unitExists("Every unit name for " + job_.label + " is taken.");
  }

  /// False when the name was taken meanwhile. Throws when a program lives under one: that of another launch.
  [[nodiscard]] bool tryToStart(const std::string& unit) {
    try {
      manager_.startTransientService(unit, job_.label, job_.programArguments, environment_, interaction_);
      return true;
    } catch (const QuillonSystemError& error) {
      if (error.domain() != kUnitExists) throw;
      if (std::ranges::any_of(olderUnits(), isAlive, &Units::value_type::second)) throw;
      return false;
    }
  }

  void requireStillProceeding(const std::function<bool()>& shouldProceed, const std::string& unit) {
    try {
      requireProceeding(shouldProceed);
    } catch (const VeskUpdateInstallerError&) {
      stopSilently(unit);
      throw;
    }
  }

  void stopSilently(const std::string& unit) {
    try {
      if (mayChangeUnitsSilently_()) manager_.stopUnit(unit, Interaction::forbidden);
    } catch (const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): the launch has failed in any case
    }
  }

  SystemdManagerConnection& manager_;
  const VeskAppBundleLaunchdJob& job_;
  const std::vector<std::string>& environment_;
  const Interaction interaction_;
  const std::function<bool()>& mayChangeUnitsSilently_;
};

}  // namespace

VeskAppBundleSystemdJobSubmitter::VeskAppBundleSystemdJobSubmitter(VeskAppBundleSystemdBusAddresses addresses,
                                                                   std::chrono::milliseconds timeLimit,
                                                                   std::function<bool()> mayChangeSystemUnitsSilently,
                                                                   QuillonMonotonicTimeProvider monotonicTimeProvider,
                                                                   EnvironmentProvider environmentProvider)
    : addresses_(std::move(addresses)),
      timeLimit_(timeLimit),
      monotonicTimeProvider_(std::move(monotonicTimeProvider)),
      environmentProvider_(std::move(environmentProvider)),
      mayChangeSystemUnitsSilently_(std::move(mayChangeSystemUnitsSilently)) {
  if (mayChangeSystemUnitsSilently_) return;
  mayChangeSystemUnitsSilently_ = [address = addresses_.system, timeLimit] {
    return mayManageUnitsWithoutDialog(address, timeLimit, geteuid());
  };
}

std::vector<std::string> VeskAppBundleSystemdJobSubmitter::ownEnvironment() {
  return environmentVariables(environmentForOwnPrivileges());
}

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
    SystemdManagerConnection manager(isSystemJob ? addresses_.system : addresses_.user, timeLimit_,
                                     monotonicTimeProvider_);
    // The user's own manager asks nobody.
    const std::function<bool()> mayChangeUnitsSilently = [&] {
      return !isSystemJob || mayChangeSystemUnitsSilently_();
    };
    // A program that runs as root gets nothing that its starter chose.
    const std::vector<std::string> environment =
        isSystemJob ? std::vector<std::string>() : systemdUnitEnvironment(environmentProvider_());
    Submission(manager, job, environment, mayAsk ? Interaction::allowed : Interaction::forbidden,
               mayChangeUnitsSilently)
        .run(shouldProceed);
  } catch (const QuillonSystemError& error) {
    throw jobSubmissionFailure(error);
  }
}

}  // namespace quillon
