#pragma once

#include <memory>

#include "QuillonCore/Contracts/QuillonTimerScheduling.h"
#include "QuillonCore/Runtime/QuillonBackgroundThread.h"

namespace quillon {

/// Timers of the machine's monotonic clock, whose functions run on one thread of its own.
///
/// Destroying it waits for a function that runs, except from within one. Those that still wait are dropped.
class QuillonTimerThread final : public QuillonTimerScheduling {
 public:
  QuillonTimerThread();
  ~QuillonTimerThread() override;
  QuillonTimerThread(const QuillonTimerThread&) = delete;
  QuillonTimerThread& operator=(const QuillonTimerThread&) = delete;

  [[nodiscard]] std::unique_ptr<QuillonTimer> schedule(std::uint64_t nanoseconds,
                                                       std::function<void()> function) override;

 private:
  class Schedule;
  class Timer;

  const std::shared_ptr<Schedule> schedule_;
  QuillonBackgroundThread thread_;
};

}  // namespace quillon
