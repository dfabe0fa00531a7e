#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>

#include "QuillonCore/Contracts/QuillonMainThreadDispatching.h"

namespace quillon {

/// The main thread of a program without a toolkit's event loop: the thread that makes this object, whenever it runs
/// what has been posted. The same thread destroys it.
class QuillonMainThreadQueue final : public QuillonMainThreadDispatching {
 public:
  QuillonMainThreadQueue() = default;
  /// As end().
  ~QuillonMainThreadQueue() override;
  QuillonMainThreadQueue(const QuillonMainThreadQueue&) = delete;
  QuillonMainThreadQueue& operator=(const QuillonMainThreadQueue&) = delete;

  [[nodiscard]] bool isMainThread() const noexcept override { return std::this_thread::get_id() == mainThread_; }
  void post(std::function<void()> function) override;

  /// Runs functions as they come until a stop is requested; what waits then stays. Main thread only, also from within a
  /// posted function.
  void run(const std::stop_token& stopToken);
  /// Runs functions until none waits, those posted meanwhile included. Main thread only.
  void drain();
  /// Runs the functions that wait at the time of the call, and none that is posted meanwhile: for the event loop of a
  /// platform, in which events take turns with functions. What a loop within one of them runs does not run again. Main
  /// thread only.
  void runWaiting();
  /// Destroys what still waits without running it, and from then on whatever is posted. Main thread only, also from
  /// within a posted function.
  void end();

 private:
  /// Takes the next function; false when none waits.
  [[nodiscard]] bool takeNext(std::function<void()>& function);

  const std::thread::id mainThread_ = std::this_thread::get_id();
  std::mutex lock_;
  std::condition_variable_any changed_;
  std::deque<std::function<void()>> functions_;  // guarded by lock_
  bool didEnd_ = false;                          // guarded by lock_
};

}  // namespace quillon
