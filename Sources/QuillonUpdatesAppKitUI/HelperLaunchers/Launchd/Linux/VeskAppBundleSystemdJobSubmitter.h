#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "QuillonCore/Contracts/QuillonMonotonicTime.h"
#include "QuillonCore/Runtime/QuillonSystemMonotonicTime.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdJobSubmitting.h"

namespace quillon {

/// D-Bus addresses at which the service managers are reached.
struct VeskAppBundleSystemdBusAddresses {
  std::string system;
  std::string user;

  /// The system's bus and the bus of this process's effective user, at their fixed places. The environment, which a
  /// caller of a privileged process can choose, has no say.
  [[nodiscard]] static VeskAppBundleSystemdBusAddresses systemDefault();
};

/// Runs jobs as transient units of systemd (org.freedesktop.systemd1(5)).
///
/// The unit is of type "exec": submission succeeds when the program is running. It ends with the program alone, so what
/// an opener started lives on, and is forgotten however it ends. Arguments reach the program as they stand.
///
/// The program of a job of the user's has this process's environment, as far as systemdUnitEnvironment hands it on, and
/// what else the user's manager gives its units. One of the system's has nothing of it.
///
/// The manager decides by whom it is asked, through polkit. It may show the dialog once more only under an
/// authorization for which it was shown already and whose answer polkit does not keep; its answer has no time limit
/// then. So `shouldProceed` is asked once more after it: when it says no the submission has timed out, and the program
/// is stopped if that takes no dialog. It goes on running otherwise.
///
/// A program of the same label that still runs, under whatever number, is told to end (SIGTERM) if this process may do
/// that without a dialog, or may ask. One that does not end, such as an installer in the middle of a replacement, goes
/// on, and the submission fails: the manager runs one program of a label. A diagnostic carries the D-Bus error's name,
/// the matching errno value and its text.
class VeskAppBundleSystemdJobSubmitter final : public VeskAppBundleLaunchdJobSubmitting {
 public:
  /// The variables of an environment, each "NAME=value".
  using EnvironmentProvider = std::function<std::vector<std::string>()>;

  /// How long the manager may take for each thing that it is asked, such as to stop an older job, or to start one.
  static constexpr std::chrono::seconds kDefaultTimeLimit{20};

  /// `mayChangeSystemUnitsSilently` says whether the system's manager would stop a unit for this process without a
  /// dialog; empty: it is asked of polkit. `environmentProvider` is asked at each submission of a job of the user's.
  explicit VeskAppBundleSystemdJobSubmitter(
      VeskAppBundleSystemdBusAddresses addresses = VeskAppBundleSystemdBusAddresses::systemDefault(),
      std::chrono::milliseconds timeLimit = kDefaultTimeLimit, std::function<bool()> mayChangeSystemUnitsSilently = {},
      QuillonMonotonicTimeProvider monotonicTimeProvider = makeSystemMonotonicTimeProvider(),
      EnvironmentProvider environmentProvider = &ownEnvironment);

  void submit(const VeskAppBundleLaunchdJob& job, const VeskAppBundleLaunchdAuthorization& authorization,
              const std::function<bool()>& shouldProceed) override;

 private:
  /// This process's variables; of a privileged one the fixed ones that it hands to any child.
  [[nodiscard]] static std::vector<std::string> ownEnvironment();

  const VeskAppBundleSystemdBusAddresses addresses_;
  const std::chrono::milliseconds timeLimit_;
  const QuillonMonotonicTimeProvider monotonicTimeProvider_;
  const EnvironmentProvider environmentProvider_;
  std::function<bool()> mayChangeSystemUnitsSilently_;  // never changes after construction
};

}  // namespace quillon
