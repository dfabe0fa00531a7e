#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

/// Throws QuillonSystemError of the POSIX domain for the negative errno value that sd-bus returned when `action` was
/// done to `subject`.
void requireBus(int result, std::string_view action, std::string_view subject);

/// An object that a service on the bus offers, and one of its interfaces.
struct MessageBusObject {
  const char* service;
  const char* path;
  const char* interface;
};

/// A connection to a message bus, used by one thread.
class MessageBusConnection {
 public:
  struct MessageDeleter {
    void operator()(sd_bus_message* message) const noexcept { sd_bus_message_unref(message); }
  };
  using Message = std::unique_ptr<sd_bus_message, MessageDeleter>;

  enum class Limit : bool {
    usual,  ///< the connection's time limit
    none,   ///< as long as it takes, because a person is asked
  };

  /// Throws QuillonSystemError when the bus is not reached.
  MessageBusConnection(const std::string& address, std::chrono::milliseconds timeLimit);

  [[nodiscard]] sd_bus* get() const noexcept { return bus_.get(); }
  /// This connection's name on the bus, such as ":1.42".
  [[nodiscard]] std::string uniqueName() const;

  [[nodiscard]] Message makeCall(const MessageBusObject& object, const char* member) const;
  /// Waits for the reply. Throws QuillonSystemError: the name of the D-Bus error as domain (or "POSIX"), its errno
  /// value and its text.
  [[nodiscard]] Message call(const Message& message, Limit limit = Limit::usual) const;

 private:
  struct BusDeleter {
    void operator()(sd_bus* bus) const noexcept { sd_bus_flush_close_unref(bus); }
  };

  std::unique_ptr<sd_bus, BusDeleter> bus_;
};

}  // namespace quillon
