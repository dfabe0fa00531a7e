#include "Support/FakeSystemdManager.h"

#include <fnmatch.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

namespace quillon::testing {
namespace {

constexpr const char* kService = "org.freedesktop.systemd1";
constexpr const char* kObject = "/org/freedesktop/systemd1";
constexpr const char* kManager = "org.freedesktop.systemd1.Manager";

/// An error reply that says that a unit is not there.
int replyNoSuchUnit(sd_bus_message* message) {
  return sd_bus_reply_method_errorf(message, "org.freedesktop.systemd1.NoSuchUnit", "Unit not loaded.");
}

std::vector<std::string> readTexts(sd_bus_message* message) {
  std::vector<std::string> texts;
  requireBusResult(sd_bus_message_enter_container(message, 'a', "s"), "texts expected");
  while (sd_bus_message_at_end(message, 0) == 0) texts.push_back(readBusText(message));
  requireBusResult(sd_bus_message_exit_container(message), "end of texts expected");
  return texts;
}

void readCommand(sd_bus_message* message, FakeSystemdManager::TransientUnit& unit) {
  requireBusResult(sd_bus_message_enter_container(message, 'v', "a(sasas)"), "commands expected");
  requireBusResult(sd_bus_message_enter_container(message, 'a', "(sasas)"), "list of commands expected");
  requireBusResult(sd_bus_message_enter_container(message, 'r', "sasas"), "command expected");
  unit.programPath = readBusText(message);
  unit.arguments = readTexts(message);
  unit.flags = readTexts(message);
  for (int open = 0; open < 3; ++open) requireBusResult(sd_bus_message_exit_container(message), "one command expected");
}

FakeSystemdManager::TransientUnit readUnit(sd_bus_message* message) {
  FakeSystemdManager::TransientUnit unit;
  unit.mayAskTheUser = sd_bus_message_get_allow_interactive_authorization(message) > 0;
  unit.name = readBusText(message);
  unit.mode = readBusText(message);
  requireBusResult(sd_bus_message_enter_container(message, 'a', "(sv)"), "properties expected");
  while (sd_bus_message_enter_container(message, 'r', "sv") > 0) {
    const std::string name = readBusText(message);
    if (name == "ExecStartEx") {
      readCommand(message, unit);
    } else if (name == "Environment") {
      requireBusResult(sd_bus_message_enter_container(message, 'v', "as"), "variables expected");
      unit.environment = readTexts(message);
      requireBusResult(sd_bus_message_exit_container(message), "end of variables expected");
    } else if (name == "TimeoutStopUSec") {
      requireBusResult(sd_bus_message_read(message, "v", "t", &unit.numberProperties[name]), "number expected");
    } else {
      requireBusResult(sd_bus_message_enter_container(message, 'v', "s"), "text property expected");
      unit.textProperties[name] = readBusText(message);
      requireBusResult(sd_bus_message_exit_container(message), "end of property expected");
    }
    requireBusResult(sd_bus_message_exit_container(message), "end of entry expected");
  }
  return unit;
}

}  // namespace

FakeSystemdManager::FakeSystemdManager(const std::string& busAddress, Behaviour behaviour)
    : busAddress_(busAddress),
      behaviour_(std::move(behaviour)),
      units_(behaviour_.units),
      service_(busAddress, kService, kObject, [this](sd_bus_message* message) { return answer(message); }) {}

std::vector<FakeSystemdManager::TransientUnit> FakeSystemdManager::startedUnits() const {
  const std::lock_guard guard(lock_);
  return startedUnits_;
}

int FakeSystemdManager::answer(sd_bus_message* message) {
  if (sd_bus_message_is_method_call(message, kManager, "Subscribe") > 0) {
    service_.record("Subscribe");
    return sd_bus_reply_method_return(message, "");
  }
  if (sd_bus_message_is_method_call(message, kManager, "StopUnit") > 0) return answerStop(message);
  if (sd_bus_message_is_method_call(message, kManager, "ResetFailedUnit") > 0) return answerReset(message);
  if (sd_bus_message_is_method_call(message, kManager, "StartTransientUnit") > 0) return answerStart(message);
  if (sd_bus_message_is_method_call(message, kManager, "ListUnitsByPatterns") > 0) return answerList(message);
  return 0;
}

int FakeSystemdManager::answerList(sd_bus_message* message) {
  if (!readTexts(message).empty()) throw std::runtime_error("units in every state are asked for");
  const std::vector<std::string> patterns = readTexts(message);
  service_.record("ListUnitsByPatterns");
  sd_bus_message* reply = nullptr;
  requireBusResult(sd_bus_message_new_method_return(message, &reply), "reply");
  const std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)> owner(reply, &sd_bus_message_unref);
  requireBusResult(sd_bus_message_open_container(reply, 'a', "(ssssssouso)"), "list");
  for (const auto& [name, unit] : units_) {
    const bool isMeant = std::ranges::any_of(patterns, [&name = name](const std::string& pattern) {
      return fnmatch(pattern.c_str(), name.c_str(), FNM_NOESCAPE) == 0;
    });
    if (!isMeant) continue;
    requireBusResult(sd_bus_message_append(reply, "(ssssssouso)", name.c_str(), "", "loaded", unit.activeState.c_str(),
                                           "", "", kObject, std::uint32_t{unit.hasJob ? 1U : 0U}, "", kObject),
                     "unit");
  }
  requireBusResult(sd_bus_message_close_container(reply), "end of list");
  return sd_bus_send(service_.bus(), reply, nullptr);
}

int FakeSystemdManager::answerStop(sd_bus_message* message) {
  const std::string unit = readBusText(message);
  service_.record("StopUnit " + unit + " " + readBusText(message));
  if (!units_.contains(unit)) return replyNoSuchUnit(message);
  if (behaviour_.stoppedUnitState) {
    units_[unit] = {.activeState = *behaviour_.stoppedUnitState};
  } else {
    units_.erase(unit);
  }
  return answerWithJob(message, unit, "done");
}

int FakeSystemdManager::answerReset(sd_bus_message* message) {
  const std::string unit = readBusText(message);
  service_.record("ResetFailedUnit " + unit);
  return units_.erase(unit) > 0 ? sd_bus_reply_method_return(message, "") : replyNoSuchUnit(message);
}

int FakeSystemdManager::answerStart(sd_bus_message* message) {
  TransientUnit unit = readUnit(message);
  service_.record("StartTransientUnit " + unit.name + " " + unit.mode);
  const std::string name = unit.name;
  units_.insert(behaviour_.lateUnits.begin(), behaviour_.lateUnits.end());
  if (units_.contains(name)) {
    return sd_bus_reply_method_errorf(message, "org.freedesktop.systemd1.UnitExists", "Unit was already loaded.");
  }
  {
    const std::lock_guard guard(lock_);
    startedUnits_.push_back(std::move(unit));
  }
  if (!behaviour_.startError) return answerWithJob(message, name, behaviour_.jobResult);
  return sd_bus_reply_method_errorf(message, behaviour_.startError->name.c_str(), "%s",
                                    behaviour_.startError->text.c_str());
}

int FakeSystemdManager::answerWithJob(sd_bus_message* message, const std::string& unit,
                                      const std::optional<std::string>& result) {
  const std::string job = "/org/freedesktop/systemd1/job/" + std::to_string(++jobs_);
  for (int count = 0; count < behaviour_.otherSignals; ++count) {
    tellJobRemoved("/org/freedesktop/systemd1/job/999", "other.service", "failed");
  }
  if (behaviour_.forgedJobResult) forgeJobRemoved(sd_bus_message_get_sender(message), job, unit);
  if (behaviour_.signalsBeforeReply) tellJobRemoved(job, unit, result);
  const int replied = sd_bus_reply_method_return(message, "o", job.c_str());
  if (!behaviour_.signalsBeforeReply) tellJobRemoved(job, unit, result);
  return replied;
}

void FakeSystemdManager::forgeJobRemoved(const char* caller, const std::string& job, const std::string& unit) const {
  sd_bus* forger = nullptr;
  requireBusResult(sd_bus_new(&forger), "bus of a forger");
  const std::unique_ptr<sd_bus, decltype(&sd_bus_flush_close_unref)> owner(forger, &sd_bus_flush_close_unref);
  requireBusResult(sd_bus_set_address(forger, busAddress_.c_str()), "address of a forger");
  requireBusResult(sd_bus_set_bus_client(forger, 1), "forger");
  requireBusResult(sd_bus_start(forger), "connection of a forger");
  sd_bus_message* signal = nullptr;
  requireBusResult(sd_bus_message_new_signal(forger, &signal, kObject, kManager, "JobRemoved"), "forged signal");
  const std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)> signalOwner(signal, &sd_bus_message_unref);
  requireBusResult(sd_bus_message_append(signal, "uoss", std::uint32_t{1}, job.c_str(), unit.c_str(),
                                         behaviour_.forgedJobResult->c_str()),
                   "forged result");
  requireBusResult(sd_bus_message_set_destination(signal, caller), "victim");
  requireBusResult(sd_bus_send(forger, signal, nullptr), "sending of the forged signal");
  // The bus hands messages on in the order in which they come: once it answers, the signal is on its way.
  requireBusResult(sd_bus_call_method(forger, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                      "GetId", nullptr, nullptr, ""),
                   "answer to a forger");
}

int FakeSystemdManager::tellJobRemoved(const std::string& job, const std::string& unit,
                                       const std::optional<std::string>& result) const {
  if (!result) return 0;
  return sd_bus_emit_signal(service_.bus(), kObject, kManager, "JobRemoved", "uoss", std::uint32_t{1}, job.c_str(),
                            unit.c_str(), result->c_str());
}

}  // namespace quillon::testing
