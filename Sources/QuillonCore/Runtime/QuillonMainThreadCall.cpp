#include "QuillonCore/Runtime/QuillonMainThreadCall.h"

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

/// One call, shared by the thread that waits for it and the main thread.
///
/// | State   | run()                     | abandon()  | drop()  |
/// |---------|---------------------------|------------|---------|
/// | waiting | running, then done        | dropped    | dropped |
/// | running | –                         | –          | –       |
/// | done    | –                         | –          | –       |
/// | dropped | the function does not run | –          | –       |
class MainThreadCall {
 public:
  explicit MainThreadCall(const std::function<void()>& function) : function_(function) {}

  /// On the main thread.
  void run() noexcept {
    {
      const std::lock_guard guard(lock_);
      if (state_ != State::waiting) return;
      state_ = State::running;
    }
    std::exception_ptr error;
    try {
      function_();
    } catch (...) {  // the edge of a callback: whatever it is belongs to the waiting thread
      error = std::current_exception();
    }
    const std::lock_guard guard(lock_);
    error_ = std::move(error);
    state_ = State::done;
    changed_.notify_all();
  }

  /// The main thread has let go of the call.
  void drop() noexcept {
    const std::lock_guard guard(lock_);
    if (state_ != State::waiting) return;
    state_ = State::dropped;
    changed_.notify_all();
  }

  /// Returns when the function has run. Throws what it threw, or QuillonCancellationError when it will not run.
  void wait(const std::stop_token& stopToken) {
    std::unique_lock guard(lock_);
    changed_.wait(guard, stopToken, [this] { return state_ != State::waiting; });
    if (state_ == State::waiting) state_ = State::dropped;
    // What runs is waited for: it may use what the waiting thread owns.
    changed_.wait(guard, [this] { return state_ != State::running; });
    if (state_ == State::dropped) throw QuillonCancellationError();
    if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
  }

 private:
  enum class State : std::uint8_t { waiting, running, done, dropped };

  std::mutex lock_;
  std::condition_variable_any changed_;
  /// Of the waiting thread, which stays as long as the function can run.
  const std::function<void()>& function_;
  State state_ = State::waiting;  // guarded by lock_
  std::exception_ptr error_;      // guarded by lock_
};

/// The main thread's share of a call: drops it unless it has run.
class Turn {
 public:
  explicit Turn(std::shared_ptr<MainThreadCall> call) : call_(std::move(call)) {}
  ~Turn() { call_->drop(); }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  void run() const noexcept { call_->run(); }

 private:
  const std::shared_ptr<MainThreadCall> call_;
};

}  // namespace

void runOnMainThread(QuillonMainThreadDispatching& mainThread, const std::function<void()>& function,
                     const std::stop_token& stopToken) {
  if (stopToken.stop_requested()) throw QuillonCancellationError();
  if (mainThread.isMainThread()) {
    function();
    return;
  }
  const auto call = std::make_shared<MainThreadCall>(function);
  mainThread.post([turn = std::make_shared<Turn>(call)] { turn->run(); });
  call->wait(stopToken);
}

}  // namespace quillon
