// The promises of a main thread, held by the one that the run loop serves.

#import <Foundation/Foundation.h>

#include <memory>
#include <utility>

#include "Contracts/QuillonMainThreadDispatchingContract.h"
#include "QuillonCore/Runtime/Apple/QuillonAppleMainThread.h"

namespace quillon {
namespace {

/// Lets the run loop have turns until it has nothing to do.
void runLoop() {
  while (CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true) == kCFRunLoopRunHandledSource) {
  }
}

testing::MainThread makeRunLoop() {
  return {std::make_shared<QuillonAppleMainThread>(), [] {
            for (int turn = 0; turn < 3; ++turn) runLoop();
          }};
}

INSTANTIATE_TEST_SUITE_P(Apple, QuillonMainThreadDispatchingContract,
                         ::testing::Values(testing::MainThreadImplementation{"RunLoop", makeRunLoop}),
                         [](const auto& run) { return run.param.name; });

}  // namespace
}  // namespace quillon
