#include "Support/FakeBusService.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <exception>
#include <utility>

namespace quillon::testing {

void requireBusResult(int result, const char* what) {
  if (result < 0) throw std::runtime_error(std::string("fake bus service: ") + what);
}

std::string readBusText(sd_bus_message* message) {
  const char* text = nullptr;
  requireBusResult(sd_bus_message_read(message, "s", &text), "text expected");
  return text;
}

FakeBusService::FakeBusService(const std::string& busAddress, const char* name, const char* objectPath, Answer answer)
    : answer_(std::move(answer)), stopEvent_(eventfd(0, EFD_CLOEXEC)) {
  requireBusResult(sd_bus_new(&bus_), "bus");
  requireBusResult(sd_bus_set_address(bus_, busAddress.c_str()), "address");
  requireBusResult(sd_bus_set_bus_client(bus_, 1), "client");
  requireBusResult(sd_bus_start(bus_), "connection");
  requireBusResult(sd_bus_add_fallback(bus_, nullptr, objectPath, &handle, this), "object");
  requireBusResult(sd_bus_request_name(bus_, name, 0), "name");
  thread_ = std::jthread([this](const std::stop_token& stop) { serve(stop); });
}

FakeBusService::~FakeBusService() {
  thread_.request_stop();
  eventfd_write(stopEvent_, 1);
  thread_.join();
  sd_bus_flush_close_unref(bus_);
  close(stopEvent_);
}

void FakeBusService::record(std::string call) {
  const std::lock_guard guard(lock_);
  calls_.push_back(std::move(call));
}

std::vector<std::string> FakeBusService::calls() const {
  const std::lock_guard guard(lock_);
  return calls_;
}

void FakeBusService::serve(const std::stop_token& stop) const {
  while (!stop.stop_requested()) {
    if (sd_bus_process(bus_, nullptr) != 0) continue;
    std::array<pollfd, 2> events = {
        {{.fd = sd_bus_get_fd(bus_), .events = static_cast<short>(sd_bus_get_events(bus_)), .revents = 0},
         {.fd = stopEvent_, .events = POLLIN, .revents = 0}}};
    poll(events.data(), events.size(), -1);
  }
}

int FakeBusService::handle(sd_bus_message* message, void* service, sd_bus_error* error) noexcept {
  try {
    return static_cast<FakeBusService*>(service)->answer_(message);
  } catch (const std::exception& failure) {
    return sd_bus_error_set(error, "org.freedesktop.DBus.Error.InvalidArgs", failure.what());
  }
}

}  // namespace quillon::testing
