#pragma once

#include <array>
#include <stop_token>
#include <thread>

namespace quillon {

/// Turns the first SIGINT, SIGTERM or SIGHUP into a request to stop, as long as this lives; the second one ends the
/// process as it always would. One at a time. Programs that are started meanwhile get the signals' usual effect.
class InterruptSignals {
 public:
  explicit InterruptSignals(std::stop_source stopSource);
  ~InterruptSignals();
  InterruptSignals(const InterruptSignals&) = delete;
  InterruptSignals& operator=(const InterruptSignals&) = delete;

 private:
  std::array<int, 2> pipe_{-1, -1};
  std::thread thread_;
};

}  // namespace quillon
