#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace quillon::testing {

/// Runs what is posted, in order and from resume() on, on a thread of its own. It may go away in the midst of that.
class XPCLoopbackQueue {
 public:
  using Task = std::function<void()>;

  void resume();
  /// False, and dropped, after finish().
  bool post(Task task);
  /// Runs `last` after what has been posted, and ends the thread.
  void finish(Task last);

  /// Waits for the threads of all queues, each of which has been finished or will be.
  static void waitForAll();

 private:
  struct State {
    [[nodiscard]] std::optional<Task> next();

    std::mutex lock;
    std::condition_variable changed;
    std::deque<Task> tasks;   // guarded by lock
    bool isFinished = false;  // guarded by lock
  };

  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace quillon::testing
