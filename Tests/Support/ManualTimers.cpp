#include "Support/ManualTimers.h"

#include <limits>
#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace quillon::testing {

class ManualTimers::Schedule {
 public:
  /// Time, and a number that orders equal times.
  using Key = std::pair<std::uint64_t, std::uint64_t>;

  Key add(std::uint64_t nanoseconds, std::function<void()> function) {
    const std::lock_guard guard(lock_);
    const Key key(timeAfter(nanoseconds), ++lastNumber_);
    if (!isStopped_) functions_.emplace(key, std::move(function));
    return key;
  }

  void remove(const Key& key) {
    decltype(functions_)::node_type removed;
    const std::lock_guard guard(lock_);
    removed = functions_.extract(key);
  }

  void stop() {
    decltype(functions_) dropped;
    const std::lock_guard guard(lock_);
    isStopped_ = true;
    dropped.swap(functions_);
  }

  [[nodiscard]] std::uint64_t timeAfter(std::uint64_t nanoseconds) const {
    constexpr std::uint64_t kEnd = std::numeric_limits<std::uint64_t>::max();
    return nanoseconds > kEnd - now_ ? kEnd : now_ + nanoseconds;
  }

  void advance(std::uint64_t nanoseconds) {
    std::unique_lock guard(lock_);
    const std::uint64_t end = timeAfter(nanoseconds);
    while (!functions_.empty() && functions_.begin()->first.first <= end) {
      now_ = functions_.begin()->first.first;
      {
        // Destroyed without the lock: what the function holds may call back.
        const auto due = functions_.extract(functions_.begin());
        guard.unlock();
        due.mapped()();
      }
      guard.lock();
    }
    now_ = end;
  }

  std::function<void()> takeNext() {
    const std::lock_guard guard(lock_);
    if (functions_.empty()) return {};
    return std::move(functions_.extract(functions_.begin()).mapped());
  }

  void setAfterScheduling(std::function<void()> afterScheduling) {
    const std::lock_guard guard(lock_);
    afterScheduling_ = std::move(afterScheduling);
  }
  [[nodiscard]] std::function<void()> afterScheduling() const {
    const std::lock_guard guard(lock_);
    return afterScheduling_;
  }
  [[nodiscard]] std::size_t waitingCount() const {
    const std::lock_guard guard(lock_);
    return functions_.size();
  }
  [[nodiscard]] std::size_t scheduledCount() const {
    const std::lock_guard guard(lock_);
    return lastNumber_;
  }

 private:
  mutable std::mutex lock_;
  std::map<Key, std::function<void()>> functions_;  // guarded by lock_
  std::function<void()> afterScheduling_;           // guarded by lock_
  std::uint64_t now_ = 0;                           // guarded by lock_
  std::uint64_t lastNumber_ = 0;                    // guarded by lock_
  bool isStopped_ = false;                          // guarded by lock_
};

class ManualTimers::Timer final : public QuillonTimer {
 public:
  Timer(std::shared_ptr<Schedule> schedule, Schedule::Key key) : schedule_(std::move(schedule)), key_(key) {}
  ~Timer() override { schedule_->remove(key_); }
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  void cancel() noexcept override { schedule_->remove(key_); }

 private:
  const std::shared_ptr<Schedule> schedule_;
  const Schedule::Key key_;
};

ManualTimers::ManualTimers() : schedule_(std::make_shared<Schedule>()) {}

ManualTimers::~ManualTimers() {
  schedule_->stop();
}

std::unique_ptr<QuillonTimer> ManualTimers::schedule(std::uint64_t nanoseconds, std::function<void()> function) {
  if (!function) throw std::invalid_argument("a timer without a function");
  auto timer = std::make_unique<Timer>(schedule_, schedule_->add(nanoseconds, std::move(function)));
  if (const auto afterScheduling = schedule_->afterScheduling()) afterScheduling();
  return timer;
}

void ManualTimers::advance(std::uint64_t nanoseconds) {
  schedule_->advance(nanoseconds);
}

std::function<void()> ManualTimers::takeNext() {
  return schedule_->takeNext();
}

void ManualTimers::setAfterScheduling(std::function<void()> afterScheduling) {
  schedule_->setAfterScheduling(std::move(afterScheduling));
}

std::size_t ManualTimers::waitingCount() const {
  return schedule_->waitingCount();
}

std::size_t ManualTimers::scheduledCount() const {
  return schedule_->scheduledCount();
}

}  // namespace quillon::testing
