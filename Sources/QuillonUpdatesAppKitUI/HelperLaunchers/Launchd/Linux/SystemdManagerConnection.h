#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "QuillonCore/Contracts/QuillonMonotonicTime.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/MessageBusConnection.h"

namespace quillon {

/// What a manager says of a unit that it has loaded.
struct SystemdUnitState {
  /// "ActiveState" (org.freedesktop.systemd1(5)), such as "active" or "failed".
  std::string activeState;
  /// Whether it is to be started or stopped.
  bool hasJob = false;
};

/// A connection to one systemd manager, used by one thread.
///
/// Believes only the peer that owned the manager's name on the bus when the connection was made.
///
/// Every operation waits for the manager, each at most the time limit in all, and throws QuillonSystemError: the name
/// of the D-Bus error as domain (or "POSIX" when the bus is not reached), its errno value and its text.
class SystemdManagerConnection {
 public:
  /// Whether the manager may ask the user for the right to do what it is asked.
  enum class Interaction : bool { forbidden, allowed };

  /// `monotonicTimeProvider` measures the time limit.
  SystemdManagerConnection(const std::string& busAddress, std::chrono::milliseconds timeLimit,
                           QuillonMonotonicTimeProvider monotonicTimeProvider);
  SystemdManagerConnection(const SystemdManagerConnection&) = delete;
  SystemdManagerConnection& operator=(const SystemdManagerConnection&) = delete;

  /// The loaded units whose names match one of `patterns` (fnmatch(3), without escapes), by name. Takes no rights.
  [[nodiscard]] std::map<std::string, SystemdUnitState> unitStates(const std::vector<std::string>& patterns) const;
  /// Stops a unit and waits until it has stopped. The manager may ask the user for the right whether it was allowed to
  /// or not, so its answer has no time limit where that is allowed.
  void stopUnit(const std::string& name, Interaction interaction);
  /// Forgets that a unit failed. May ask like stopUnit.
  void resetFailedUnit(const std::string& name, Interaction interaction);
  /// Starts a transient service that runs `programArguments` (the first is the program's path), and waits until the
  /// program runs. Throws also when it cannot be executed. The manager's answer has no time limit where it may ask.
  ///
  /// `environment`, each variable "NAME=value" as systemdUnitEnvironment leaves them, goes before the manager's own for
  /// its units, of which the service has the others too.
  void startTransientService(const std::string& name, const std::string& description,
                             const std::vector<std::string>& programArguments,
                             const std::vector<std::string>& environment, Interaction interaction);

 private:
  using Message = MessageBusConnection::Message;
  /// Of the clock that measures.
  using Moment = std::chrono::nanoseconds;

  static int noteRemovedJob(sd_bus_message* message, void* connection, sd_bus_error* error) noexcept;

  [[nodiscard]] Message makeCall(const char* member) const;
  [[nodiscard]] Message makeCall(const char* member, Interaction interaction) const;
  [[nodiscard]] Message call(const Message& message, Interaction interaction) const;
  /// Makes a call that is answered with a job, and waits for its result.
  [[nodiscard]] std::string resultOfJob(const Message& message, Interaction interaction);
  void processUntil(Moment deadline);
  [[nodiscard]] Moment now() const { return Moment(monotonicTimeProvider_()); }

  const std::chrono::milliseconds timeLimit_;
  /// The manager's own name on the bus, such as ":1.3", which the bus gives and nobody can choose.
  std::string managerName_;
  const QuillonMonotonicTimeProvider monotonicTimeProvider_;
  /// Object path of the job that is waited for, and its result once the manager has finished it.
  std::string awaitedJob_;
  std::optional<std::string> awaitedResult_;
  MessageBusConnection bus_;
};

}  // namespace quillon
