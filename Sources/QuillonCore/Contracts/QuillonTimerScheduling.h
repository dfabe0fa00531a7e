#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace quillon {

/// A function that waits for its time. Destroying it cancels it.
class QuillonTimer {
 public:
  virtual ~QuillonTimer() = default;

  /// The function does not run unless its turn has come; does not wait for one that runs. From any thread, also from
  /// within the function, and without harm when the function has run.
  virtual void cancel() noexcept = 0;
};

/// Runs functions later.
class QuillonTimerScheduling {
 public:
  virtual ~QuillonTimerScheduling() = default;

  /// Runs `function` once, `nanoseconds` of monotonic time from here or somewhat later, unless the timer is cancelled
  /// first. More time than the clock has left is the end of the clock. Functions run one after the other in the order
  /// of their times, equal times in the order of scheduling, and never within a call of this port; each must be short
  /// and must not throw. A function that has run or was cancelled is destroyed. From any thread. A timer may outlive
  /// what scheduled it, and then never runs. Throws std::invalid_argument for an empty function.
  [[nodiscard]] virtual std::unique_ptr<QuillonTimer> schedule(std::uint64_t nanoseconds,
                                                               std::function<void()> function) = 0;
};

}  // namespace quillon
