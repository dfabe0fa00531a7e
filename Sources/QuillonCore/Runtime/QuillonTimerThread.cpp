#include "QuillonCore/Runtime/QuillonTimerThread.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <limits>
#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace quillon {
namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point timeAfter(std::uint64_t nanoseconds) {
  const Clock::time_point now = Clock::now();
  const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::time_point::max() - now).count();
  return now +
         std::chrono::nanoseconds(static_cast<std::int64_t>(std::min(nanoseconds, static_cast<std::uint64_t>(left))));
}

}  // namespace

/// The functions that wait. Shared by the thread, its owner and the timers, each of which may be the last one left.
class QuillonTimerThread::Schedule {
 public:
  /// Time, and a number that orders equal times.
  using Key = std::pair<Clock::time_point, std::uint64_t>;

  Key add(Clock::time_point time, std::function<void()> function) {
    const std::lock_guard guard(lock_);
    const Key key(time, ++lastNumber_);
    if (isStopped_) return key;
    functions_.emplace(key, std::move(function));
    if (functions_.begin()->first == key) changed_.notify_one();
    return key;
  }

  void remove(const Key& key) {
    // Destroyed after the lock is released: what the function holds may call back.
    decltype(functions_)::node_type removed;
    const std::lock_guard guard(lock_);
    removed = functions_.extract(key);
  }

  void stop() {
    decltype(functions_) dropped;
    const std::lock_guard guard(lock_);
    isStopped_ = true;
    dropped.swap(functions_);
    changed_.notify_one();
  }

  void run() {
    while (const auto function = next()) function();
  }

 private:
  /// The next function when its time has come; an empty one after the stop.
  std::function<void()> next() {
    std::unique_lock guard(lock_);
    while (!isStopped_) {
      if (functions_.empty()) {
        changed_.wait(guard);
        continue;
      }
      const Clock::time_point time = functions_.begin()->first.first;
      if (time <= Clock::now()) return std::move(functions_.extract(functions_.begin()).mapped());
      changed_.wait_until(guard, time);
    }
    return {};
  }

  std::mutex lock_;
  std::condition_variable changed_;
  std::map<Key, std::function<void()>> functions_;  // guarded by lock_
  std::uint64_t lastNumber_ = 0;                    // guarded by lock_
  bool isStopped_ = false;                          // guarded by lock_
};

class QuillonTimerThread::Timer final : public QuillonTimer {
 public:
  Timer(std::shared_ptr<Schedule> schedule, Schedule::Key key) : schedule_(std::move(schedule)), key_(key) {}
  ~Timer() override { cancel(); }
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  void cancel() noexcept override { schedule_->remove(key_); }

 private:
  const std::shared_ptr<Schedule> schedule_;
  const Schedule::Key key_;
};

QuillonTimerThread::QuillonTimerThread()
    : schedule_(std::make_shared<Schedule>()), thread_([schedule = schedule_] { schedule->run(); }) {}

QuillonTimerThread::~QuillonTimerThread() {
  schedule_->stop();
}

std::unique_ptr<QuillonTimer> QuillonTimerThread::schedule(std::uint64_t nanoseconds, std::function<void()> function) {
  // To the thread, an empty function is the end.
  if (!function) throw std::invalid_argument("a timer without a function");
  return std::make_unique<Timer>(schedule_, schedule_->add(timeAfter(nanoseconds), std::move(function)));
}

}  // namespace quillon
