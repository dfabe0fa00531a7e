#pragma once

#include <cstdint>

namespace quillon {

/// Copies at most `remaining` bytes of one open file to another by reading and writing. 0, or the errno value.
[[nodiscard]] int copyThroughBuffer(int from, int to, std::uint64_t remaining) noexcept;

}  // namespace quillon
