#include "Support/FakeSystemdManager.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace quillon::testing {
namespace {

constexpr const char* kService = "org.freedesktop.systemd1";
constexpr const char* kObject = "/org/freedesktop/systemd1";
constexpr const char* kManager = "org.freedesktop.systemd1.Manager";

void require(int result, const char* what) {
  if (result < 0) throw std::runtime_error(std::string("fake systemd manager: ") + what);
}

std::string readText(sd_bus_message* message) {
  const char* text = nullptr;
  require(sd_bus_message_read(message, "s", &text), "text expected");
  return text;
}

std::vector<std::string> readTexts(sd_bus_message* message) {
  std::vector<std::string> texts;
  require(sd_bus_message_enter_container(message, 'a', "s"), "texts expected");
  while (sd_bus_message_at_end(message, 0) == 0) texts.push_back(readText(message));
  require(sd_bus_message_exit_container(message), "end of texts expected");
  return texts;
}

void readCommand(sd_bus_message* message, FakeSystemdManager::TransientUnit& unit) {
  require(sd_bus_message_enter_container(message, 'v', "a(sasas)"), "commands expected");
  require(sd_bus_message_enter_container(message, 'a', "(sasas)"), "list of commands expected");
  require(sd_bus_message_enter_container(message, 'r', "sasas"), "command expected");
  unit.programPath = readText(message);
  unit.arguments = readTexts(message);
  unit.flags = readTexts(message);
  for (int open = 0; open < 3; ++open) require(sd_bus_message_exit_container(message), "one command expected");
}

FakeSystemdManager::TransientUnit readUnit(sd_bus_message* message) {
  FakeSystemdManager::TransientUnit unit;
  unit.name = readText(message);
  unit.mode = readText(message);
  require(sd_bus_message_enter_container(message, 'a', "(sv)"), "properties expected");
  while (sd_bus_message_enter_container(message, 'r', "sv") > 0) {
    const std::string name = readText(message);
    if (name == "ExecStartEx") {
      readCommand(message, unit);
    } else {
      require(sd_bus_message_enter_container(message, 'v', "s"), "text property expected");
      unit.textProperties[name] = readText(message);
      require(sd_bus_message_exit_container(message), "end of property expected");
    }
    require(sd_bus_message_exit_container(message), "end of entry expected");
  }
  return unit;
}

}  // namespace

FakeSystemdManager::FakeSystemdManager(const std::string& busAddress, Behaviour behaviour)
    : behaviour_(std::move(behaviour)), stopEvent_(eventfd(0, EFD_CLOEXEC)) {
  require(sd_bus_new(&bus_), "bus");
  require(sd_bus_set_address(bus_, busAddress.c_str()), "address");
  require(sd_bus_set_bus_client(bus_, 1), "client");
  require(sd_bus_start(bus_), "connection");
  require(sd_bus_add_object(bus_, nullptr, kObject, &handle, this), "object");
  require(sd_bus_request_name(bus_, kService, 0), "name");
  thread_ = std::jthread([this](const std::stop_token& stop) { serve(stop); });
}

FakeSystemdManager::~FakeSystemdManager() {
  thread_.request_stop();
  eventfd_write(stopEvent_, 1);
  thread_.join();
  sd_bus_flush_close_unref(bus_);
  close(stopEvent_);
}

std::vector<std::string> FakeSystemdManager::calls() const {
  const std::lock_guard guard(lock_);
  return calls_;
}

std::vector<FakeSystemdManager::TransientUnit> FakeSystemdManager::startedUnits() const {
  const std::lock_guard guard(lock_);
  return startedUnits_;
}

void FakeSystemdManager::serve(const std::stop_token& stop) const {
  while (!stop.stop_requested()) {
    if (sd_bus_process(bus_, nullptr) != 0) continue;
    std::array<pollfd, 2> events = {
        {{.fd = sd_bus_get_fd(bus_), .events = static_cast<short>(sd_bus_get_events(bus_)), .revents = 0},
         {.fd = stopEvent_, .events = POLLIN, .revents = 0}}};
    poll(events.data(), events.size(), -1);
  }
}

int FakeSystemdManager::handle(sd_bus_message* message, void* manager, sd_bus_error* error) noexcept {
  try {
    return static_cast<FakeSystemdManager*>(manager)->answer(message);
  } catch (const std::exception& failure) {
    return sd_bus_error_set(error, "org.freedesktop.DBus.Error.InvalidArgs", failure.what());
  }
}

int FakeSystemdManager::answer(sd_bus_message* message) {
  if (sd_bus_message_is_method_call(message, kManager, "Subscribe") > 0) {
    record("Subscribe");
    return sd_bus_reply_method_return(message, "");
  }
  if (sd_bus_message_is_method_call(message, kManager, "StopUnit") > 0) return answerStop(message);
  if (sd_bus_message_is_method_call(message, kManager, "ResetFailedUnit") > 0) {
    record("ResetFailedUnit " + readText(message));
    return behaviour_.unitExists ? sd_bus_reply_method_return(message, "")
                                 : sd_bus_reply_method_errorf(message, "org.freedesktop.systemd1.NoSuchUnit", "none");
  }
  if (sd_bus_message_is_method_call(message, kManager, "StartTransientUnit") > 0) return answerStart(message);
  return 0;
}

int FakeSystemdManager::answerStop(sd_bus_message* message) {
  const std::string unit = readText(message);
  record("StopUnit " + unit + " " + readText(message));
  if (behaviour_.unitExists) return answerWithJob(message, unit, "done");
  return sd_bus_reply_method_errorf(message, "org.freedesktop.systemd1.NoSuchUnit", "Unit not loaded.");
}

int FakeSystemdManager::answerStart(sd_bus_message* message) {
  TransientUnit unit = readUnit(message);
  record("StartTransientUnit " + unit.name + " " + unit.mode);
  const std::string name = unit.name;
  if (std::ranges::find(behaviour_.takenNames, name) != behaviour_.takenNames.end()) {
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
  // Other jobs end, too.
  tellJobRemoved("/org/freedesktop/systemd1/job/999", "other.service", "failed");
  if (behaviour_.signalsBeforeReply) tellJobRemoved(job, unit, result);
  const int replied = sd_bus_reply_method_return(message, "o", job.c_str());
  if (!behaviour_.signalsBeforeReply) tellJobRemoved(job, unit, result);
  return replied;
}

int FakeSystemdManager::tellJobRemoved(const std::string& job, const std::string& unit,
                                       const std::optional<std::string>& result) const {
  if (!result) return 0;
  return sd_bus_emit_signal(bus_, kObject, kManager, "JobRemoved", "uoss", std::uint32_t{1}, job.c_str(), unit.c_str(),
                            result->c_str());
}

void FakeSystemdManager::record(std::string call) {
  const std::lock_guard guard(lock_);
  calls_.push_back(std::move(call));
}

}  // namespace quillon::testing
