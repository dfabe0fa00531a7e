#include "QuillonCore/Runtime/QuillonMainThreadQueue.h"

#include <cstddef>
#include <utility>

namespace quillon {

QuillonMainThreadQueue::~QuillonMainThreadQueue() {
  end();
}

void QuillonMainThreadQueue::post(std::function<void()> function) {
  const std::lock_guard guard(lock_);
  if (didEnd_) return;
  functions_.push_back(std::move(function));
  changed_.notify_one();
}

void QuillonMainThreadQueue::run(const std::stop_token& stopToken) {
  for (;;) {
    std::function<void()> function;
    {
      std::unique_lock guard(lock_);
      changed_.wait(guard, stopToken, [this] { return !functions_.empty(); });
      if (stopToken.stop_requested()) return;
      function = std::move(functions_.front());
      functions_.pop_front();
    }
    function();
  }
}

void QuillonMainThreadQueue::drain() {
  for (std::function<void()> function; takeNext(function);) {
    function();
    function = nullptr;
  }
}

void QuillonMainThreadQueue::runWaiting() {
  std::size_t count = 0;
  {
    const std::lock_guard guard(lock_);
    count = functions_.size();
  }
  std::function<void()> function;
  for (; count > 0 && takeNext(function); --count) {
    function();
    function = nullptr;
  }
}

void QuillonMainThreadQueue::end() {
  // Destroyed after the lock is released: what the functions hold may call back.
  std::deque<std::function<void()>> dropped;
  const std::lock_guard guard(lock_);
  didEnd_ = true;
  dropped.swap(functions_);
}

bool QuillonMainThreadQueue::takeNext(std::function<void()>& function) {
  const std::lock_guard guard(lock_);
  if (functions_.empty()) return false;
  function = std::move(functions_.front());
  functions_.pop_front();
  return true;
}

}  // namespace quillon
