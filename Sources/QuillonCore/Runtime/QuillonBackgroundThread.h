#pragma once

#include <thread>
#include <utility>

namespace quillon {

/// A thread whose last owner may be one of the functions that it runs.
///
/// Destroying it waits for its end, except on the thread itself, which then goes on alone: what it uses it must own.
/// Whoever owns this asks the thread to end first.
class QuillonBackgroundThread {
 public:
  QuillonBackgroundThread() = default;
  template <typename Function>
  explicit QuillonBackgroundThread(Function function) : thread_(std::move(function)) {}
  QuillonBackgroundThread(QuillonBackgroundThread&&) = default;
  QuillonBackgroundThread& operator=(QuillonBackgroundThread&&) = delete;
  QuillonBackgroundThread(const QuillonBackgroundThread&) = delete;
  QuillonBackgroundThread& operator=(const QuillonBackgroundThread&) = delete;
  ~QuillonBackgroundThread() {
    if (thread_.get_id() == std::this_thread::get_id()) thread_.detach();
  }

 private:
  std::jthread thread_;
};

}  // namespace quillon
