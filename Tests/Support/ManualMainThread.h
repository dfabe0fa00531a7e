#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

#include "QuillonCore/Contracts/QuillonMainThreadDispatching.h"

namespace quillon::testing {

/// A main thread that runs one function at a time, when the test says so: the thread that makes it.
class ManualMainThread final : public QuillonMainThreadDispatching {
 public:
  [[nodiscard]] bool isMainThread() const noexcept override { return std::this_thread::get_id() == thread_; }

  void post(std::function<void()> function) override {
    const std::lock_guard guard(lock_);
    functions_.push_back(std::move(function));
    changed_.notify_all();
  }

  /// Takes out the first function that waits, waiting for one. It is run, or dropped, by the test.
  [[nodiscard]] std::function<void()> takeNext() {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this] { return !functions_.empty(); });
    std::function<void()> function = std::move(functions_.front());
    functions_.pop_front();
    return function;
  }

  void runNext() { takeNext()(); }
  /// Runs what waits, and what it posts.
  void runAll() {
    while (waitingCount() > 0) runNext();
  }
  /// Returns when `count` functions wait.
  void waitForWaiting(std::size_t count) {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [&] { return functions_.size() >= count; });
  }
  [[nodiscard]] std::size_t waitingCount() const {
    const std::lock_guard guard(lock_);
    return functions_.size();
  }

 private:
  const std::thread::id thread_ = std::this_thread::get_id();
  mutable std::mutex lock_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> functions_;  // guarded by lock_
};

}  // namespace quillon::testing
