#include "Support/Apple/RunLoopTurns.h"

#import <Foundation/Foundation.h>

namespace quillon::testing {
namespace {

constexpr int kTurns = 5;
constexpr int kManyTurns = 1000;
constexpr double kTurnSeconds = 0.01;

}  // namespace

void runMainRunLoop() {
  for (int turn = 0; turn < kTurns; ++turn) {
    while (CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true) == kCFRunLoopRunHandledSource) {
    }
  }
}

bool runMainRunLoopUntil(const std::function<bool()>& isReached) {
  for (int turn = 0; turn < kManyTurns && !isReached(); ++turn) {
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, kTurnSeconds, true);
  }
  return isReached();
}

}  // namespace quillon::testing
