#include "QuillonCore/Runtime/Apple/QuillonAppleMainThread.h"

#import <Foundation/Foundation.h>

#include <utility>

#include "QuillonCore/Runtime/QuillonMainThreadQueue.h"

namespace quillon {

QuillonAppleMainThread::QuillonAppleMainThread() : queue_(std::make_shared<QuillonMainThreadQueue>()) {}

QuillonAppleMainThread::~QuillonAppleMainThread() { queue_->end(); }

bool QuillonAppleMainThread::isMainThread() const noexcept { return [NSThread isMainThread] == YES; }

void QuillonAppleMainThread::post(std::function<void()> function) {
  queue_->post(std::move(function));
  const auto held = queue_;
  // In the common modes, so that alerts and tracked menus do not hold functions up.
  CFRunLoopPerformBlock(CFRunLoopGetMain(), kCFRunLoopCommonModes, ^{
    @autoreleasepool {
      held->runWaiting();
    }
  });
  CFRunLoopWakeUp(CFRunLoopGetMain());
}

}  // namespace quillon
