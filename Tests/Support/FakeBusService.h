#pragma once

#include <systemd/sd-bus.h>

#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace quillon::testing {

/// Throws std::runtime_error for the negative errno value that sd-bus returned.
void requireBusResult(int result, const char* what);
/// The next text of a message. Throws std::runtime_error when there is none.
[[nodiscard]] std::string readBusText(sd_bus_message* message);

/// A service on a message bus, answering calls on a thread of its own.
class FakeBusService {
 public:
  /// Answers a call and returns what sd-bus expects of a message handler. What it throws becomes an error reply.
  using Answer = std::function<int(sd_bus_message*)>;

  /// Serves `name` at `objectPath` and below it. Returns when calls are answered.
  FakeBusService(const std::string& busAddress, const char* name, const char* objectPath, Answer answer);
  ~FakeBusService();
  FakeBusService(const FakeBusService&) = delete;
  FakeBusService& operator=(const FakeBusService&) = delete;

  /// For the answering thread only.
  [[nodiscard]] sd_bus* bus() const noexcept { return bus_; }

  /// Writes down that a call was made.
  void record(std::string call);
  /// What was written down, in order.
  [[nodiscard]] std::vector<std::string> calls() const;

 private:
  static int handle(sd_bus_message* message, void* service, sd_bus_error* error) noexcept;

  void serve(const std::stop_token& stop) const;

  const Answer answer_;
  int stopEvent_ = -1;
  sd_bus* bus_ = nullptr;
  mutable std::mutex lock_;
  std::vector<std::string> calls_;  // guarded by lock_
  std::jthread thread_;
};

}  // namespace quillon::testing
