#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <stop_token>

namespace quillon {

/// Waits for a while, less after a stop request. Callable from any thread.
using UpdatePause = std::function<void(std::chrono::milliseconds, const std::stop_token&)>;

/// Waits by the machine's monotonic clock.
[[nodiscard]] inline UpdatePause makeSystemUpdatePause() {
  return [](std::chrono::milliseconds duration, const std::stop_token& stopToken) {
    std::mutex lock;
    std::condition_variable_any never;
    std::unique_lock guard(lock);
    (void)never.wait_for(guard, stopToken, duration, [] { return false; });
  };
}

}  // namespace quillon
