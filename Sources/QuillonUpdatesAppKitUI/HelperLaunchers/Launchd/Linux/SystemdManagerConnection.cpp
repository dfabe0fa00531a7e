#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdManagerConnection.h"

#include <cerrno>
#include <exception>
#include <string_view>
#include <utility>

namespace quillon {
namespace {

using Limit = MessageBusConnection::Limit;

constexpr const char* kService = "org.freedesktop.systemd1";
constexpr MessageBusObject kManager{
    .service = kService, .path = "/org/freedesktop/systemd1", .interface = "org.freedesktop.systemd1.Manager"};

/// How long a program may hold back its end before the manager kills it (microseconds). An installer holds it back
/// while it exchanges bundles, which can mean to copy a large one to another volume.
constexpr std::uint64_t kStopTimeLimit = std::uint64_t{10} * 60 * 1'000'000;

void require(int result, std::string_view action) {
  requireBus(result, action, "the service manager");
}

std::string readObjectPath(const MessageBusConnection::Message& reply) {
  const char* path = nullptr;
  require(sd_bus_message_read(reply.get(), "o", &path), "understand");
  return path;
}

void appendTextProperty(sd_bus_message* message, const char* name, const char* value) {
  require(sd_bus_message_append(message, "(sv)", name, "s", value), "describe a job to");
}

void appendTexts(sd_bus_message* message, const std::vector<std::string>& texts, std::string_view action) {
  require(sd_bus_message_open_container(message, 'a', "s"), action);
  for (const std::string& text : texts) require(sd_bus_message_append(message, "s", text.c_str()), action);
  require(sd_bus_message_close_container(message), action);
}

void appendTextsProperty(sd_bus_message* message, const char* name, const std::vector<std::string>& values) {
  constexpr std::string_view kAction = "describe a job to";
  require(sd_bus_message_open_container(message, 'r', "sv"), kAction);
  require(sd_bus_message_append(message, "s", name), kAction);
  require(sd_bus_message_open_container(message, 'v', "as"), kAction);
  appendTexts(message, values, kAction);
  for (int open = 0; open < 2; ++open) require(sd_bus_message_close_container(message), kAction);
}

/// An entry of ListUnitsByPatterns: name, description, whether it was loaded, its active and its exact state, the unit
/// that it follows, its object, and the number, type and object of its job, 0 when it has none.
std::pair<std::string, SystemdUnitState> readUnit(sd_bus_message* message) {
  constexpr std::string_view kAction = "understand";
  const char* name = nullptr;
  const char* activeState = nullptr;
  std::uint32_t job = 0;
  require(sd_bus_message_enter_container(message, 'r', "ssssssouso"), kAction);
  require(sd_bus_message_read(message, "s", &name), kAction);
  require(sd_bus_message_skip(message, "ss"), kAction);
  require(sd_bus_message_read(message, "s", &activeState), kAction);
  require(sd_bus_message_skip(message, "sso"), kAction);
  require(sd_bus_message_read(message, "u", &job), kAction);
  require(sd_bus_message_skip(message, "so"), kAction);
  require(sd_bus_message_exit_container(message), kAction);
  return {name, {.activeState = activeState, .hasJob = job != 0}};
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
  appendTexts(message, programArguments, kAction);
  appendTexts(message, {"no-env-expand"}, kAction);
  for (int open = 0; open < 4; ++open) require(sd_bus_message_close_container(message), kAction);
}

}  // namespace

SystemdManagerConnection::SystemdManagerConnection(const std::string& busAddress, std::chrono::milliseconds timeLimit,
                                                   QuillonMonotonicTimeProvider monotonicTimeProvider)
    : timeLimit_(timeLimit), monotonicTimeProvider_(std::move(monotonicTimeProvider)), bus_(busAddress, timeLimit) {
  require(sd_bus_match_signal(bus_.get(), nullptr, kService, kManager.path, kManager.interface, "JobRemoved",
                              &noteRemovedJob, this),
          "connect to");
  // The manager sends signals only to those who subscribe.
  const Message reply = bus_.call(makeCall("Subscribe"));
  const char* const sender = sd_bus_message_get_sender(reply.get());
  if (sender == nullptr) throw QuillonSystemError::posix(EPROTO, "connect to", "the service manager");
  managerName_ = sender;
}

std::map<std::string, SystemdUnitState> SystemdManagerConnection::unitStates(
    const std::vector<std::string>& patterns) const {
  const Message question = makeCall("ListUnitsByPatterns");
  appendTexts(question.get(), {}, "call");  // in any state
  appendTexts(question.get(), patterns, "call");
  const Message reply = bus_.call(question);
  std::map<std::string, SystemdUnitState> units;
  require(sd_bus_message_enter_container(reply.get(), 'a', "(ssssssouso)"), "understand");
  while (sd_bus_message_at_end(reply.get(), 0) == 0) units.insert(readUnit(reply.get()));
  return units;
}

void SystemdManagerConnection::stopUnit(const std::string& name, Interaction interaction) {
  const Message message = makeCall("StopUnit", interaction);
  require(sd_bus_message_append(message.get(), "ss", name.c_str(), "replace"), "call");
  (void)resultOfJob(message, interaction);
}

void SystemdManagerConnection::resetFailedUnit(const std::string& name, Interaction interaction) {
  const Message message = makeCall("ResetFailedUnit", interaction);
  require(sd_bus_message_append(message.get(), "s", name.c_str()), "call");
  (void)call(message, interaction);
}

void SystemdManagerConnection::startTransientService(const std::string& name, const std::string& description,
                                                     const std::vector<std::string>& programArguments,
                                                     const std::vector<std::string>& environment,
                                                     Interaction interaction) {
  const Message message = makeCall("StartTransientUnit", interaction);
  require(sd_bus_message_append(message.get(), "ss", name.c_str(), "fail"), "call");
  require(sd_bus_message_open_container(message.get(), 'a', "(sv)"), "call");
  appendTextProperty(message.get(), "Description", description.c_str());
  appendTextProperty(message.get(), "Type", "exec");
  appendTextProperty(message.get(), "CollectMode", "inactive-or-failed");
  appendTextProperty(message.get(), "KillMode", "process");
  require(sd_bus_message_append(message.get(), "(sv)", "TimeoutStopUSec", "t", kStopTimeLimit), "describe a job to");
  if (!environment.empty()) appendTextsProperty(message.get(), "Environment", environment);
  appendCommand(message.get(), programArguments);
  require(sd_bus_message_close_container(message.get()), "call");
  require(sd_bus_message_append(message.get(), "a(sa(sv))", 0), "call");
  const std::string result = resultOfJob(message, interaction);
  if (result != "done") {
    throw QuillonSystemError(kService, EIO, "The service manager could not start " + name + ": " + result + ".");
  }
}

int SystemdManagerConnection::noteRemovedJob(sd_bus_message* message, void* connection,
                                             sd_bus_error* /*error*/) noexcept {
  auto* const self = static_cast<SystemdManagerConnection*>(connection);
  // Whoever may use the bus can send this signal to whom it likes, with a job of its choice, and a match for the
  // manager's well-known name does not keep it away.
  const char* const sender = sd_bus_message_get_sender(message);
  if (sender == nullptr || sender != self->managerName_) return 0;
  std::uint32_t number = 0;
  const char* path = nullptr;
  const char* unit = nullptr;
  const char* result = nullptr;
  // A signal of another shape is none of the manager's; the job it should have told of then runs into the time limit.
  if (sd_bus_message_read(message, "uoss", &number, &path, &unit, &result) < 0) return 0;
  try {
    if (path == self->awaitedJob_) self->awaitedResult_ = result;
    return 0;
  } catch (const std::exception&) {
    return -ENOMEM;
  }
}

SystemdManagerConnection::Message SystemdManagerConnection::makeCall(const char* member) const {
  return bus_.makeCall(kManager, member);
}

SystemdManagerConnection::Message SystemdManagerConnection::makeCall(const char* member,
                                                                     Interaction interaction) const {
  Message message = makeCall(member);
  const int mayAsk = interaction == Interaction::allowed ? 1 : 0;
  require(sd_bus_message_set_allow_interactive_authorization(message.get(), mayAsk), "call");
  return message;
}

SystemdManagerConnection::Message SystemdManagerConnection::call(const Message& message,
                                                                 Interaction interaction) const {
  return bus_.call(message, interaction == Interaction::allowed ? Limit::none : Limit::usual);
}

std::string SystemdManagerConnection::resultOfJob(const Message& message, Interaction interaction) {
  const Moment begin = now();
  // A signal that comes before the reply stays in the connection's queue, of which sd-bus limits the length.
  awaitedJob_ = readObjectPath(call(message, interaction));
  awaitedResult_.reset();
  processUntil((interaction == Interaction::allowed ? now() : begin) + timeLimit_);
  return *awaitedResult_;
}

void SystemdManagerConnection::processUntil(Moment deadline) {
  while (!awaitedResult_) {
    // In each round: peers that send without end must not keep it waiting.
    const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline - now());
    if (left.count() <= 0) throw QuillonSystemError::posix(ETIMEDOUT, "hear from", "the service manager");
    const int processed = sd_bus_process(bus_.get(), nullptr);
    require(processed, "hear from");
    if (processed > 0) continue;
    const int waited = sd_bus_wait(bus_.get(), static_cast<std::uint64_t>(left.count()));
    if (waited != -EINTR) require(waited, "hear from");
  }
}

}  // namespace quillon
