#pragma once

namespace quillon::testing {

/// Makes objects of all blocks, as they are on macOS: they can be copied, retained and released by messages. The
/// blocks' runtime leaves room for their classes, and GNUstep puts none there. Any number of times, from any thread.
void makeBlocksObjects();

}  // namespace quillon::testing
