#pragma once

#include <cstdint>
#include <functional>

namespace quillon {

/// Nanoseconds of a clock that only goes forward, since a moment of its own. Callable from any thread; never fails.
using QuillonMonotonicTimeProvider = std::function<std::uint64_t()>;

}  // namespace quillon
