#include "Support/BusPeer.h"

#include <systemd/sd-id128.h>

#include <cerrno>
#include <cstdint>
#include <limits>
#include <string>
#include <system_error>

namespace quillon::testing {
namespace {

void require(int result, const char* action) {
  if (result < 0) throw std::system_error(-result, std::generic_category(), action);
}

BusPeer::Message owned(sd_bus_message* message) {
  return {message, [](sd_bus_message* last) { sd_bus_message_unref(last); }};
}

}  // namespace

BusPeer::BusPeer(FileDescriptor socket, Role role) {
  sd_bus* bus = nullptr;
  require(sd_bus_new(&bus), "sd_bus_new");
  bus_.reset(bus);
  require(sd_bus_set_fd(bus, socket.get(), socket.get()), "sd_bus_set_fd");
  (void)socket.release();
  if (role == Role::server) {
    sd_id128_t identifier{};
    require(sd_id128_randomize(&identifier), "sd_id128_randomize");
    require(sd_bus_set_server(bus, 1, identifier), "sd_bus_set_server");
  }
  require(sd_bus_start(bus), "sd_bus_start");
}

bool BusPeer::connect() const {
  while (sd_bus_is_ready(bus_.get()) == 0) {
    const int processed = sd_bus_process(bus_.get(), nullptr);
    if (processed < 0 || sd_bus_is_open(bus_.get()) <= 0) return false;
    if (processed == 0) require(sd_bus_wait(bus_.get(), std::numeric_limits<std::uint64_t>::max()), "wait");
  }
  return true;
}

BusPeer::Message BusPeer::makeCall(const char* member, const char* interface, const char* object) const {
  sd_bus_message* message = nullptr;
  require(sd_bus_message_new_method_call(bus_.get(), &message, nullptr, object, interface, member), "call");
  return owned(message);
}

BusPeer::Message BusPeer::makeSignal(const char* member, const char* interface) const {
  sd_bus_message* message = nullptr;
  require(sd_bus_message_new_signal(bus_.get(), &message, kObject, interface, member), "signal");
  return owned(message);
}

BusPeer::Message BusPeer::makeReturn(const Message& call) {
  sd_bus_message* message = nullptr;
  require(sd_bus_message_new_method_return(call.get(), &message), "return");
  return owned(message);
}

bool BusPeer::trySend(const Message& message) const {
  // With a cookie to fill, the message expects a reply where its kind can.
  std::uint64_t cookie = 0;
  return sd_bus_send(bus_.get(), message.get(), &cookie) >= 0;
}

void BusPeer::send(const Message& message) const {
  require(trySend(message) ? 0 : -EPIPE, "send");
}

BusPeer::Message BusPeer::receive() const {
  while (true) {
    sd_bus_message* message = nullptr;
    const int processed = sd_bus_process(bus_.get(), &message);
    if (processed < 0 || sd_bus_is_open(bus_.get()) <= 0) {
      sd_bus_message_unref(message);
      return nullptr;
    }
    if (message != nullptr) return owned(message);
    if (processed == 0) require(sd_bus_wait(bus_.get(), std::numeric_limits<std::uint64_t>::max()), "wait");
  }
}

void BusPeer::close() {
  bus_.reset();
}

}  // namespace quillon::testing
