#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace quillon::testing {

/// Hands what other threads put in to a test that waits for it.
template <typename T>
class BlockingQueue {
 public:
  void push(T element) {
    const std::lock_guard guard(lock_);
    elements_.push_back(std::move(element));
    changed_.notify_one();
  }

  /// The first element, waited for.
  T pop() {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this] { return !elements_.empty(); });
    T element = std::move(elements_.front());
    elements_.pop_front();
    return element;
  }

  [[nodiscard]] bool isEmpty() const {
    const std::lock_guard guard(lock_);
    return elements_.empty();
  }

 private:
  mutable std::mutex lock_;
  std::condition_variable changed_;
  std::deque<T> elements_;  // guarded by lock_
};

}  // namespace quillon::testing
