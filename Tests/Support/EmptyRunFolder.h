#pragma once

#include <functional>

namespace quillon::testing {

/// Calls `function` on a thread that sees an empty /run of its own, so that it can put sockets of services there or
/// find none. False, without a call, where the process may not mount.
[[nodiscard]] bool callWithEmptyRunFolder(const std::function<void()>& function);

}  // namespace quillon::testing
