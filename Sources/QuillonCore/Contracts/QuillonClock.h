#pragma once

#include <chrono>

namespace quillon {

/// Tells the date. Callable from any thread.
class QuillonClock {
 public:
  virtual ~QuillonClock() = default;

  /// The date and time at this moment, in microseconds since 1970 without leap seconds.
  [[nodiscard]] virtual std::chrono::sys_time<std::chrono::microseconds> now() const noexcept = 0;
};

}  // namespace quillon
