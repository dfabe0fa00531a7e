#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

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
/// Every operation waits for the manager, each at most the time limit, and throws QuillonSystemError: the name of the
/// D-Bus error as domain (or "POSIX" when the bus is not reached), its errno value and its text.
class SystemdManagerConnection {
 public:
  /// Whether the manager may ask the user for the right to do what it is asked.
  enum class Interaction : bool { forbidden, allowed };

  SystemdManagerConnection(const std::string& busAddress, std::chrono::milliseconds timeLimit);
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
  void startTransientService(const std::string& name, const std::string& description,
                             const std::vector<std::string>& programArguments, Interaction interaction);

 private:
  using Message = MessageBusConnection::Message;
  using Deadline = std::chrono::steady_clock::time_point;

  static int noteRemovedJob(sd_bus_message* message, void* connection, sd_bus_error* error) noexcept;

  [[nodiscard]] Message makeCall(const char* member) const;
  [[nodiscard]] Message makeCall(const char* member, Interaction interaction) const;
  [[nodiscard]] Message call(const Message& message, Interaction interaction) const;
  [[nodiscard]] std::string resultOfJob(const std::string& path);
  void processUntil(Deadline deadline, const std::string& path);

  const std::chrono::milliseconds timeLimit_;
  /// The manager's own name on the bus, such as ":1.3", which the bus gives and nobody can choose.
  std::string managerName_;
  /// Results of the jobs that the manager has finished, by object path.
  std::map<std::string, std::string> removedJobs_;
  MessageBusConnection bus_;
};

}  // namespace quillon
