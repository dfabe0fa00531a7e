#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <memory>
#include <stdexcept>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"

namespace quillon::testing {

/// One end of a D-Bus conversation without a bus, which says what a test tells it to and nothing else. For one thread.
class BusPeer {
 public:
  enum class Role { client, server };
  using Message = std::shared_ptr<sd_bus_message>;

  static constexpr const char* kObject = "/io/quillon/UpdateInstallerLauncher";
  static constexpr const char* kInterface = "io.quillon.UpdateInstallerLauncher";

  BusPeer(FileDescriptor socket, Role role);

  /// Waits for the handshake. False when there is none.
  [[nodiscard]] bool connect() const;

  [[nodiscard]] Message makeCall(const char* member = "LaunchReplacement", const char* interface = kInterface,
                                 const char* object = kObject) const;
  [[nodiscard]] Message makeSignal(const char* member = "ReportProgress", const char* interface = kInterface) const;
  [[nodiscard]] static Message makeReturn(const Message& call);

  /// The same as send(); false when the other end is gone.
  [[nodiscard]] bool trySend(const Message& message) const;
  /// Sends what has been put together; as much as the socket takes.
  void send(const Message& message) const;
  /// What the other end sends next, waited for; null when it is gone.
  [[nodiscard]] Message receive() const;
  void close();

 private:
  struct BusDeleter {
    void operator()(sd_bus* bus) const noexcept { sd_bus_close_unref(bus); }
  };

  std::unique_ptr<sd_bus, BusDeleter> bus_;
};

/// Appends to `message`, as sd_bus_message_append(3) does. Throws for what does not fit its types.
template <typename... Values>
void append(const BusPeer::Message& message, const char* types, Values... values) {
  if (sd_bus_message_append(message.get(), types, values...) < 0) throw std::invalid_argument(types);
}

}  // namespace quillon::testing
