#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/MessageBusConnection.h"

#include <cstdint>

namespace quillon {
namespace {

constexpr std::string_view kBus = "the message bus";
constexpr std::uint64_t kNoLimit = UINT64_MAX;  // sd_bus_call(3)

/// A D-Bus error reply, freed.
class BusError {
 public:
  BusError() = default;
  ~BusError() { sd_bus_error_free(&error_); }
  BusError(const BusError&) = delete;
  BusError& operator=(const BusError&) = delete;

  [[nodiscard]] sd_bus_error* get() noexcept { return &error_; }

  [[noreturn]] void raise(int result) const {
    if (sd_bus_error_is_set(&error_) == 0) throw QuillonSystemError::posix(-result, "call over", kBus);
    const char* const text = error_.message == nullptr ? "" : error_.message;
    throw QuillonSystemError(error_.name, sd_bus_error_get_errno(&error_), text);
  }

 private:
  sd_bus_error error_{};
};

}  // namespace

void requireBus(int result, std::string_view action, std::string_view subject) {
  if (result < 0) throw QuillonSystemError::posix(-result, action, subject);
}

MessageBusConnection::MessageBusConnection(const std::string& address, std::chrono::milliseconds timeLimit) {
  constexpr std::string_view kAction = "connect to";
  sd_bus* bus = nullptr;
  requireBus(sd_bus_new(&bus), kAction, kBus);
  bus_.reset(bus);
  requireBus(sd_bus_set_address(bus, address.c_str()), kAction, kBus);
  requireBus(sd_bus_set_bus_client(bus, 1), kAction, kBus);
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(timeLimit).count();
  requireBus(sd_bus_set_method_call_timeout(bus, static_cast<std::uint64_t>(microseconds)), kAction, kBus);
  requireBus(sd_bus_start(bus), kAction, kBus);
}

std::string MessageBusConnection::uniqueName() const {
  const char* name = nullptr;
  requireBus(sd_bus_get_unique_name(bus_.get(), &name), "get a name of", kBus);
  return name;
}

MessageBusConnection::Message MessageBusConnection::makeCall(const MessageBusObject& object, const char* member) const {
  sd_bus_message* message = nullptr;
  requireBus(
      sd_bus_message_new_method_call(bus_.get(), &message, object.service, object.path, object.interface, member),
      "call over", kBus);
  return Message(message);
}

MessageBusConnection::Message MessageBusConnection::call(const Message& message, Limit limit) const {
  BusError error;
  sd_bus_message* reply = nullptr;
  const std::uint64_t microseconds = limit == Limit::none ? kNoLimit : 0;  // 0: the connection's own
  const int result = sd_bus_call(bus_.get(), message.get(), microseconds, error.get(), &reply);
  if (result < 0) error.raise(result);
  return Message(reply);
}

}  // namespace quillon
