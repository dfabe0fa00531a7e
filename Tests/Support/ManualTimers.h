#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "QuillonCore/Contracts/QuillonTimerScheduling.h"

namespace quillon::testing {

/// Timers of a clock that a test moves. Their functions run on the thread that moves it.
class ManualTimers final : public QuillonTimerScheduling {
 public:
  ManualTimers();
  ~ManualTimers() override;
  ManualTimers(const ManualTimers&) = delete;
  ManualTimers& operator=(const ManualTimers&) = delete;

  [[nodiscard]] std::unique_ptr<QuillonTimer> schedule(std::uint64_t nanoseconds,
                                                       std::function<void()> function) override;

  /// Lets time pass, and runs what is due within it.
  void advance(std::uint64_t nanoseconds);
  /// Takes the next function out as a timer's thread does whose turn has come, past every cancellation. It is run by
  /// the test. Empty when none waits.
  [[nodiscard]] std::function<void()> takeNext();

  /// Called at the end of each schedule(), before it returns, with no lock held.
  void setAfterScheduling(std::function<void()> afterScheduling);

  [[nodiscard]] std::size_t waitingCount() const;
  /// How often schedule() was called.
  [[nodiscard]] std::size_t scheduledCount() const;

 private:
  class Schedule;
  class Timer;

  const std::shared_ptr<Schedule> schedule_;
};

}  // namespace quillon::testing
