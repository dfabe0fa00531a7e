#include "QuillonCore/Runtime/QuillonMainThreadQueue.h"

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
  for (Next next = takeNext(); next.function; next = takeNext()) {
    next.function();
    next.function = nullptr;
  }
}

void QuillonMainThreadQueue::runNext(const std::function<void()>& othersWait) {
  const Next next = takeNext();
  if (next.othersWait) othersWait();
  if (next.function) next.function();
}

void QuillonMainThreadQueue::end() {
  // Destroyed after the lock is released: what the functions hold may call back.
  std::deque<std::function<void()>> dropped;
  const std::lock_guard guard(lock_);
  didEnd_ = true;
  dropped.swap(functions_);
}

QuillonMainThreadQueue::Next QuillonMainThreadQueue::takeNext() {
  const std::lock_guard guard(lock_);
  if (functions_.empty()) return {};
  Next next{.function = std::move(functions_.front())};
  functions_.pop_front();
  next.othersWait = !functions_.empty();
  return next;
}

}  // namespace quillon
