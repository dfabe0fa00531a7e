#include "Support/TestMachineUnits.h"

#include <systemd/sd-bus.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace quillon::testing {
namespace {

constexpr const char* kManager = "org.freedesktop.systemd1.Manager";
constexpr const char* kService = "org.freedesktop.systemd1";
constexpr const char* kObject = "/org/freedesktop/systemd1";
constexpr std::chrono::seconds kLimit{30};

struct BusCloser {
  void operator()(sd_bus* bus) const noexcept { sd_bus_flush_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, BusCloser>;

void require(int result, const char* what) {
  if (result < 0) throw std::runtime_error(std::string(what) + ": " + std::strerror(-result));
}

/// The system bus of the machine, as its root.
Bus connectToBus(const TestMachine& machine) {
  const std::string address = "unix:path=" + (machine.root() / "run/dbus/system_bus_socket").string();
  sd_bus* made = nullptr;
  require(sd_bus_new(&made), "sd_bus_new");
  Bus bus(made);
  require(sd_bus_set_address(made, address.c_str()), "sd_bus_set_address");
  require(sd_bus_set_bus_client(made, 1), "sd_bus_set_bus_client");
  require(sd_bus_start(made), "sd_bus_start");
  return bus;
}

bool isLoaded(sd_bus* bus, const std::string& unit) {
  return sd_bus_call_method(bus, kService, kObject, kManager, "GetUnit", nullptr, nullptr, "s", unit.c_str()) >= 0;
}

/// Only the arrival counts: whoever waits looks for itself.
int noteSignal(sd_bus_message* /*message*/, void* /*unused*/, sd_bus_error* /*unused*/) {
  return 0;
}

}  // namespace

std::vector<std::string> loadedUnits(const TestMachine& machine, const std::string& pattern) {
  std::istringstream lines(
      machine.run({"systemctl", "list-units", "--all", "--plain", "--no-legend", "--full", pattern}).output);
  std::vector<std::string> units;
  for (std::string line; std::getline(lines, line);) units.push_back(line.substr(0, line.find(' ')));
  return units;
}

void waitUntilUnitIsGone(const TestMachine& machine, const std::string& unit) {
  const Bus bus = connectToBus(machine);
  require(sd_bus_match_signal(bus.get(), nullptr, kService, kObject, kManager, "UnitRemoved", noteSignal, nullptr),
          "sd_bus_match_signal");
  require(sd_bus_call_method(bus.get(), kService, kObject, kManager, "Subscribe", nullptr, nullptr, ""), "Subscribe");
  const auto deadline = std::chrono::steady_clock::now() + kLimit;
  while (isLoaded(bus.get(), unit)) {
    const int processed = sd_bus_process(bus.get(), nullptr);
    require(processed, "sd_bus_process");
    if (processed > 0) continue;  // it may have been the signal
    const auto left =
        std::chrono::duration_cast<std::chrono::microseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) throw std::runtime_error(unit + " is still loaded");
    require(sd_bus_wait(bus.get(), static_cast<std::uint64_t>(left.count())), "sd_bus_wait");
  }
}

}  // namespace quillon::testing
