#pragma once

#include <systemd/sd-bus.h>

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace quillon::testing {

/// A systemd manager on a message bus that starts nothing, writes down what it was asked, and answers as it was told
/// to.
class FakeSystemdManager {
 public:
  struct Error {
    std::string name;
    std::string text;
  };
  /// What it answers. Set before the first call reaches it.
  struct Behaviour {
    /// Whether StopUnit finds a unit; otherwise it answers NoSuchUnit, as ResetFailedUnit does.
    bool unitExists = false;
    /// Answer of StartTransientUnit instead of a job.
    std::optional<Error> startError = {};
    /// Units whose name StartTransientUnit finds taken.
    std::vector<std::string> takenNames = {};
    /// How the start job ends (org.freedesktop.systemd1(5), "JobRemoved"); absent: it never does.
    std::optional<std::string> jobResult = "done";
    /// Whether the end of a job is told before the call that began it is answered.
    bool signalsBeforeReply = false;
  };
  /// A transient unit that it was asked to start.
  struct TransientUnit {
    std::string name;
    std::string mode;
    std::map<std::string, std::string> textProperties;
    std::string programPath;
    std::vector<std::string> arguments;
    std::vector<std::string> flags;
  };

  explicit FakeSystemdManager(const std::string& busAddress) : FakeSystemdManager(busAddress, Behaviour{}) {}
  /// Returns when the manager answers calls.
  FakeSystemdManager(const std::string& busAddress, Behaviour behaviour);
  ~FakeSystemdManager();
  FakeSystemdManager(const FakeSystemdManager&) = delete;
  FakeSystemdManager& operator=(const FakeSystemdManager&) = delete;

  /// The calls in their order: member and texts, separated by blanks.
  [[nodiscard]] std::vector<std::string> calls() const;
  [[nodiscard]] std::vector<TransientUnit> startedUnits() const;

 private:
  static int handle(sd_bus_message* message, void* manager, sd_bus_error* error) noexcept;

  void serve(const std::stop_token& stop) const;
  int answer(sd_bus_message* message);
  int answerStop(sd_bus_message* message);
  int answerStart(sd_bus_message* message);
  int answerWithJob(sd_bus_message* message, const std::string& unit, const std::optional<std::string>& result);
  int tellJobRemoved(const std::string& job, const std::string& unit, const std::optional<std::string>& result) const;
  void record(std::string call);

  const Behaviour behaviour_;
  int jobs_ = 0;
  int stopEvent_ = -1;
  sd_bus* bus_ = nullptr;
  mutable std::mutex lock_;
  std::vector<std::string> calls_;           // guarded by lock_
  std::vector<TransientUnit> startedUnits_;  // guarded by lock_
  std::jthread thread_;
};

}  // namespace quillon::testing
