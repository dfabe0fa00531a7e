#pragma once

#include <functional>
#include <memory>

#include "QuillonCore/Contracts/QuillonMainThreadDispatching.h"

namespace quillon {

class QuillonMainThreadQueue;

/// The main thread of an application (`NSApplication`), whose run loop serves it. Made and destroyed on that thread.
///
/// A posted function may run a loop of its own, as a modal alert does; what is posted later runs within that loop. The
/// main dispatch queue could not do that: it runs one block at a time, whatever the block waits for.
class QuillonAppleMainThread final : public QuillonMainThreadDispatching {
 public:
  QuillonAppleMainThread();
  /// Destroys what still waits without running it, and from then on whatever is posted by that.
  ~QuillonAppleMainThread() override;
  QuillonAppleMainThread(const QuillonAppleMainThread&) = delete;
  QuillonAppleMainThread& operator=(const QuillonAppleMainThread&) = delete;

  [[nodiscard]] bool isMainThread() const noexcept override;
  void post(std::function<void()> function) override;

 private:
  /// Held by the run loop, which may be running its functions when this object ends.
  const std::shared_ptr<QuillonMainThreadQueue> queue_;
};

}  // namespace quillon
