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
  /// Runs the function that has waited longest, if one waits: for the event loop of a platform, in which events take
  /// turns with functions. Calls `othersWait` before when others wait behind it: the function may run that loop itself,
  /// which then has to turn for them. Main thread only.
  void runNext(const std::function<void()>& othersWait);
  /// Destroys what still waits without running it, and from then on whatever is posted. Main thread only, also from
  /// within a posted function.
  void end();

 private:
  struct Next {
    /// Empty when none waits.
    std::function<void()> function;
    bool othersWait = false;
  };
  [[nodiscard]] Next takeNext();

  const std::thread::id mainThread_ = std::this_thread::get_id();
  std::mutex lock_;
  std::condition_variable_any changed_;
  std::deque<std::function<void()>> functions_;  // guarded by lock_
  bool didEnd_ = false;                          // guarded by lock_
};

}  // namespace quillon
