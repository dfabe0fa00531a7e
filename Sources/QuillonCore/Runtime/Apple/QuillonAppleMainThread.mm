#include "QuillonCore/Runtime/Apple/QuillonAppleMainThread.h"

#import <Foundation/Foundation.h>

#include <utility>

#include "QuillonCore/Runtime/QuillonMainThreadQueue.h"

namespace quillon {

namespace {

/// Has the main run loop run the next function. A block for each of them: the run loop takes all blocks that wait off
/// its list before it runs the first, so that a loop within one of them sees only blocks that were performed since.
void performNext(const std::shared_ptr<QuillonMainThreadQueue>& queue) {
  const auto held = queue;
  // In the common modes, so that alerts and tracked menus do not hold functions up.
  CFRunLoopPerformBlock(CFRunLoopGetMain(), kCFRunLoopCommonModes, ^{
    @autoreleasepool {
      held->runNext([held] { performNext(held); });
    }
  });
  CFRunLoopWakeUp(CFRunLoopGetMain());
}

}  // namespace

QuillonAppleMainThread::QuillonAppleMainThread() : queue_(std::make_shared<QuillonMainThreadQueue>()) {}

QuillonAppleMainThread::~QuillonAppleMainThread() { queue_->end(); }

bool QuillonAppleMainThread::isMainThread() const noexcept { return [NSThread isMainThread] == YES; }

void QuillonAppleMainThread::post(std::function<void()> function) {
  queue_->post(std::move(function));
  performNext(queue_);
}

}  // namespace quillon
