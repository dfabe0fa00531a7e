#pragma once

#include <functional>
#include <memory>
#include <thread>

#include "QuillonCore/Contracts/QuillonMainThreadDispatching.h"

namespace quillon {

/// The main thread of a program that runs GLib's default main context, as every GTK program does: the thread that makes
/// this object. The same thread destroys it.
///
/// A posted function may run a loop of its own, as a modal alert does; what is posted later runs within that loop.
/// Events and drawing go before posted functions, so that a flood of them does not freeze the windows.
class QuillonGLibMainThread final : public QuillonMainThreadDispatching {
 public:
  QuillonGLibMainThread();
  /// Destroys what still waits without running it, and from then on whatever is posted by that.
  ~QuillonGLibMainThread() override;
  QuillonGLibMainThread(const QuillonGLibMainThread&) = delete;
  QuillonGLibMainThread& operator=(const QuillonGLibMainThread&) = delete;

  [[nodiscard]] bool isMainThread() const noexcept override { return std::this_thread::get_id() == mainThread_; }
  void post(std::function<void()> function) override;

 private:
  class Source;

  const std::thread::id mainThread_ = std::this_thread::get_id();
  const std::unique_ptr<Source> source_;
};

}  // namespace quillon
