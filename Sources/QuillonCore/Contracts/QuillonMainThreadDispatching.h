#pragma once

#include <functional>

namespace quillon {

/// The thread on which windows live.
class QuillonMainThreadDispatching {
 public:
  virtual ~QuillonMainThreadDispatching() = default;

  [[nodiscard]] virtual bool isMainThread() const noexcept = 0;

  /// Runs `function` on the main thread later, after everything posted before it, and never within this call. What is
  /// still waiting when the main thread ends is destroyed without having run. `function` must not throw. From any
  /// thread.
  virtual void post(std::function<void()> function) = 0;
};

}  // namespace quillon
