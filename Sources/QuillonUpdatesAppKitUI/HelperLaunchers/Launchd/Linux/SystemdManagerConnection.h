#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

/// A connection to one systemd manager, used by one thread.
///
/// Every operation waits for the manager, each at most the time limit, and throws QuillonSystemError: the name of the
/// D-Bus error as domain (or "POSIX" when the bus is not reached), its errno value and its text.
class SystemdManagerConnection {
 public:
  SystemdManagerConnection(const std::string& busAddress, std::chrono::milliseconds timeLimit);
  ~SystemdManagerConnection();
  SystemdManagerConnection(const SystemdManagerConnection&) = delete;
  SystemdManagerConnection& operator=(const SystemdManagerConnection&) = delete;

  /// Stops a unit and waits until it has stopped.
  void stopUnit(const std::string& name);
  /// Forgets that a unit failed.
  void resetFailedUnit(const std::string& name);
  /// Starts a transient service that runs `programArguments` (the first is the program's path), and waits until the
  /// program runs. Throws also when it cannot be executed.
  void startTransientService(const std::string& name, const std::string& description,
                             const std::vector<std::string>& programArguments);

 private:
  struct MessageDeleter {
    void operator()(sd_bus_message* message) const noexcept { sd_bus_message_unref(message); }
  };
  struct BusDeleter {
    void operator()(sd_bus* bus) const noexcept { sd_bus_flush_close_unref(bus); }
  };
  using Message = std::unique_ptr<sd_bus_message, MessageDeleter>;
  using Deadline = std::chrono::steady_clock::time_point;

  static int noteRemovedJob(sd_bus_message* message, void* connection, sd_bus_error* error) noexcept;

  [[nodiscard]] Message makeCall(const char* member) const;
  [[nodiscard]] Message call(const Message& message) const;
  [[nodiscard]] static std::string jobPath(const Message& reply);
  [[nodiscard]] std::string resultOfJob(const std::string& path);
  void processUntil(Deadline deadline, const std::string& path);

  const std::chrono::milliseconds timeLimit_;
  /// Results of the jobs that the manager has finished, by object path.
  std::map<std::string, std::string> removedJobs_;
  std::unique_ptr<sd_bus, BusDeleter> bus_;
};

}  // namespace quillon
