#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdManagerConnection.h"

#include <cerrno>
#include <exception>
#include <string_view>
#include <utility>

namespace quillon {
namespace {

constexpr const char* kService = "org.freedesktop.systemd1";
constexpr const char* kObject = "/org/freedesktop/systemd1";
constexpr const char* kManager = "org.freedesktop.systemd1.Manager";

/// Throws for the negative errno value that sd-bus returned.
void require(int result, std::string_view action) {
  if (result < 0) throw QuillonSystemError::posix(-result, action, "the service manager");
}

/// A D-Bus error reply, freed.
class BusError {
 public:
  BusError() = default;
  ~BusError() { sd_bus_error_free(&error_); }
  BusError(const BusError&) = delete;
  BusError& operator=(const BusError&) = delete;

  [[nodiscard]] sd_bus_error* get() noexcept { return &error_; }

  [[noreturn]] void raise(int result) const {
    if (sd_bus_error_is_set(&error_) == 0) require(result, "call");
    const char* const text = error_.message == nullptr ? "" : error_.message;
    throw QuillonSystemError(error_.name, sd_bus_error_get_errno(&error_), text);
  }

 private:
  sd_bus_error error_ = SD_BUS_ERROR_NULL;
};

void appendTextProperty(sd_bus_message* message, const char* name, const char* value) {
  require(sd_bus_message_append(message, "(sv)", name, "s", value), "describe a job to");
}

/// "ExecStartEx" has flags: without "no-env-expand" the manager would replace "$NAME" in arguments.
void appendCommand(sd_bus_message* message, const std::vector<std::string>& programArguments) {
  constexpr std::string_view kAction = "describe a command to";
  require(sd_bus_message_open_container(message, 'r', "sv"), kAction);
  require(sd_bus_message_append(message, "s", "ExecStartEx"), kAction);
  require(sd_bus_message_open_container(message, 'v', "a(sasas)"), kAction);
  require(sd_bus_message_open_container(message, 'a', "(sasas)"), kAction);
  require(sd_bus_message_open_container(message, 'r', "sasas"), kAction);
  require(sd_bus_message_append(message, "s", programArguments.front().c_str()), kAction);
  require(sd_bus_message_open_container(message, 'a', "s"), kAction);
  for (const std::string& argument : programArguments) {
    require(sd_bus_message_append(message, "s", argument.c_str()), kAction);
  }
  require(sd_bus_message_close_container(message), kAction);
  require(sd_bus_message_append(message, "as", 1, "no-env-expand"), kAction);
  for (int open = 0; open < 4; ++open) require(sd_bus_message_close_container(message), kAction);
}

}  // namespace

SystemdManagerConnection::SystemdManagerConnection(const std::string& busAddress, std::chrono::milliseconds timeLimit)
    : timeLimit_(timeLimit) {
  constexpr std::string_view kAction = "connect to";
  sd_bus* bus = nullptr;
  require(sd_bus_new(&bus), kAction);
  bus_.reset(bus);
  require(sd_bus_set_address(bus, busAddress.c_str()), kAction);
  require(sd_bus_set_bus_client(bus, 1), kAction);
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(timeLimit).count();
  require(sd_bus_set_method_call_timeout(bus, static_cast<std::uint64_t>(microseconds)), kAction);
  require(sd_bus_start(bus), kAction);
  require(sd_bus_match_signal(bus, nullptr, kService, kObject, kManager, "JobRemoved", &noteRemovedJob, this), kAction);
  // The manager sends signals only to those who subscribe.
  (void)call(makeCall("Subscribe"));
}

SystemdManagerConnection::~SystemdManagerConnection() = default;

void SystemdManagerConnection::stopUnit(const std::string& name) {
  const Message message = makeCall("StopUnit");
  require(sd_bus_message_append(message.get(), "ss", name.c_str(), "replace"), "call");
  (void)resultOfJob(jobPath(call(message)));
}

void SystemdManagerConnection::resetFailedUnit(const std::string& name) {
  const Message message = makeCall("ResetFailedUnit");
  require(sd_bus_message_append(message.get(), "s", name.c_str()), "call");
  (void)call(message);
}

void SystemdManagerConnection::startTransientService(const std::string& name, const std::string& description,
                                                     const std::vector<std::string>& programArguments) {
  const Message message = makeCall("StartTransientUnit");
  require(sd_bus_message_append(message.get(), "ss", name.c_str(), "fail"), "call");
  require(sd_bus_message_open_container(message.get(), 'a', "(sv)"), "call");
  appendTextProperty(message.get(), "Description", description.c_str());
  appendTextProperty(message.get(), "Type", "exec");
  appendTextProperty(message.get(), "CollectMode", "inactive-or-failed");
  appendTextProperty(message.get(), "KillMode", "process");
  appendCommand(message.get(), programArguments);
  require(sd_bus_message_close_container(message.get()), "call");
  require(sd_bus_message_append(message.get(), "a(sa(sv))", 0), "call");
  const std::string result = resultOfJob(jobPath(call(message)));
  if (result != "done") {
    throw QuillonSystemError(kService, EIO, "The service manager could not start " + name + ": " + result + ".");
  }
}

int SystemdManagerConnection::noteRemovedJob(sd_bus_message* message, void* connection,
                                             sd_bus_error* /*error*/) noexcept {
  std::uint32_t number = 0;
  const char* path = nullptr;
  const char* unit = nullptr;
  const char* result = nullptr;
  // A signal of another shape is none of the manager's; the job it should have told of then runs into the time limit.
  if (sd_bus_message_read(message, "uoss", &number, &path, &unit, &result) < 0) return 0;
  try {
    static_cast<SystemdManagerConnection*>(connection)->removedJobs_.insert_or_assign(path, result);
    return 0;
  } catch (const std::exception&) {
    return -ENOMEM;
  }
}

SystemdManagerConnection::Message SystemdManagerConnection::makeCall(const char* member) const {
  sd_bus_message* message = nullptr;
  require(sd_bus_message_new_method_call(bus_.get(), &message, kService, kObject, kManager, member), "call");
  return Message(message);
}

SystemdManagerConnection::Message SystemdManagerConnection::call(const Message& message) const {
  BusError error;
  sd_bus_message* reply = nullptr;
  const int result = sd_bus_call(bus_.get(), message.get(), 0, error.get(), &reply);
  if (result < 0) error.raise(result);
  return Message(reply);
}

std::string SystemdManagerConnection::jobPath(const Message& reply) {
  const char* path = nullptr;
  require(sd_bus_message_read(reply.get(), "o", &path), "understand");
  return path;
}

std::string SystemdManagerConnection::resultOfJob(const std::string& path) {
  processUntil(std::chrono::steady_clock::now() + timeLimit_, path);
  return removedJobs_.at(path);
}

void SystemdManagerConnection::processUntil(Deadline deadline, const std::string& path) {
  while (!removedJobs_.contains(path)) {
    const int processed = sd_bus_process(bus_.get(), nullptr);
    require(processed, "hear from");
    if (processed > 0) continue;
    const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) throw QuillonSystemError::posix(ETIMEDOUT, "hear from", "the service manager");
    const int waited = sd_bus_wait(bus_.get(), static_cast<std::uint64_t>(left.count()));
    if (waited != -EINTR) require(waited, "hear from");
  }
}

}  // namespace quillon
