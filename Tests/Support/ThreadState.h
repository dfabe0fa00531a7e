#pragma once

#include <sys/types.h>

namespace quillon::testing {

/// Looks at `thread`, one of this process, until it waits in the kernel. False when it does not in many looks: a thread
/// that has nothing to do, but is busy.
[[nodiscard]] bool waitUntilAsleep(pid_t thread);

}  // namespace quillon::testing
