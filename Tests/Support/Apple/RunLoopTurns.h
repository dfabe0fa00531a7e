#pragma once

#include <functional>

namespace quillon::testing {

/// Gives the main run loop turns until nothing is left to do for it.
void runMainRunLoop();

/// Gives the main run loop turns until `isReached`; false when it is not within many of them.
[[nodiscard]] bool runMainRunLoopUntil(const std::function<bool()>& isReached);

}  // namespace quillon::testing
