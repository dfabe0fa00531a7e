#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Support/FakeBusService.h"

namespace quillon::testing {

/// A systemd manager on a message bus that starts nothing, writes down what it was asked, and answers as it was told
/// to.
class FakeSystemdManager {
 public:
  struct Error {
    std::string name;
    std::string text;
  };
  struct LoadedUnit {
    std::string activeState;
    bool hasJob = false;
  };
  /// What it answers. Set before the first call reaches it.
  struct Behaviour {
    /// The units that it has loaded, by name.
    std::map<std::string, LoadedUnit> units = {};
    /// ActiveState of a unit once it was told to stop; absent: it is loaded no more.
    std::optional<std::string> stoppedUnitState = {};
    /// Units that are loaded right before it is asked to start one.
    std::map<std::string, LoadedUnit> lateUnits = {};
    /// Answer of StartTransientUnit instead of a job.
    std::optional<Error> startError = {};
    /// How the start job ends (org.freedesktop.systemd1(5), "JobRemoved"); absent: it never does.
    std::optional<std::string> jobResult = "done";
    /// How many ends of other jobs are told before that of each job.
    int otherSignals = 1;
    /// Whether the end of a job is told before the call that began it is answered.
    bool signalsBeforeReply = false;
    /// How another peer of the bus says that the start job ended, before the manager tells.
    std::optional<std::string> forgedJobResult = {};
  };
  /// A transient unit that it was asked to start.
  struct TransientUnit {
    std::string name;
    std::string mode;
    std::map<std::string, std::string> textProperties;
    std::map<std::string, std::uint64_t> numberProperties;
    std::string programPath;
    std::vector<std::string> arguments;
    std::vector<std::string> flags;
    /// Absent when none was given.
    std::optional<std::vector<std::string>> environment;
    /// Whether the manager may ask the user for the right to start it.
    bool mayAskTheUser = false;
  };

  explicit FakeSystemdManager(const std::string& busAddress) : FakeSystemdManager(busAddress, Behaviour{}) {}
  /// Returns when the manager answers calls.
  FakeSystemdManager(const std::string& busAddress, Behaviour behaviour);

  /// The calls in their order: member and texts, separated by blanks.
  [[nodiscard]] std::vector<std::string> calls() const { return service_.calls(); }
  [[nodiscard]] std::vector<TransientUnit> startedUnits() const;

 private:
  int answer(sd_bus_message* message);
  int answerStop(sd_bus_message* message);
  int answerStart(sd_bus_message* message);
  int answerReset(sd_bus_message* message);
  int answerList(sd_bus_message* message);
  int answerWithJob(sd_bus_message* message, const std::string& unit, const std::optional<std::string>& result);
  void forgeJobRemoved(const char* caller, const std::string& job, const std::string& unit) const;
  int tellJobRemoved(const std::string& job, const std::string& unit, const std::optional<std::string>& result) const;

  const std::string busAddress_;
  const Behaviour behaviour_;
  // Of the answering thread.
  int jobs_ = 0;
  std::map<std::string, LoadedUnit> units_;
  mutable std::mutex lock_;
  std::vector<TransientUnit> startedUnits_;  // guarded by lock_
  FakeBusService service_;                   // last: answers as soon as it is there
};

}  // namespace quillon::testing
