#include "QuillonCore/Runtime/QuillonParallelFor.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace quillon {
namespace {

/// Hands out indexes and keeps the error of the lowest one that failed.
class WorkQueue {
 public:
  WorkQueue(std::size_t count, const std::function<void(std::size_t, std::size_t)>& body)
      : count_(count), body_(body) {}

  void work(std::size_t worker) noexcept {
    while (!didFail_.load(std::memory_order_relaxed)) {
      const std::size_t index = next_.fetch_add(1, std::memory_order_relaxed);
      if (index >= count_) return;
      try {
        body_(index, worker);
      } catch (...) {
        keepError(index, std::current_exception());
      }
    }
  }

  void rethrowError() const {
    if (error_) std::rethrow_exception(error_);
  }

 private:
  void keepError(std::size_t index, std::exception_ptr error) noexcept {
    const std::lock_guard guard(lock_);
    // Every index below a failing one has been handed out before it, so the lowest failure always arrives here.
    if (!error_ || index < failedIndex_) {
      error_ = std::move(error);
      failedIndex_ = index;
    }
    didFail_.store(true, std::memory_order_relaxed);
  }

  const std::size_t count_;
  const std::function<void(std::size_t, std::size_t)>& body_;
  std::atomic<std::size_t> next_ = 0;
  std::atomic<bool> didFail_ = false;
  std::mutex lock_;
  std::exception_ptr error_;     // guarded by lock_
  std::size_t failedIndex_ = 0;  // guarded by lock_
};

}  // namespace

std::size_t quillonParallelForWorkerCount(std::size_t count) noexcept {
  static const std::size_t kProcessors = std::max(1U, std::thread::hardware_concurrency());
  return std::clamp<std::size_t>(count, 1, kProcessors);
}

void quillonParallelFor(std::size_t count, const std::function<void(std::size_t, std::size_t)>& body) {
  const std::size_t workers = quillonParallelForWorkerCount(count);
  WorkQueue queue(count, body);
  {
    std::vector<std::jthread> threads;
    threads.reserve(workers);
    try {
      for (std::size_t worker = 1; worker < workers; ++worker) {
        threads.emplace_back([&queue, worker] { queue.work(worker); });
      }
    } catch (const std::system_error&) {
      // The system gives no more threads: those that run, at least the calling one, do all the work.
    }
    queue.work(0);
  }
  queue.rethrowError();
}

}  // namespace quillon
