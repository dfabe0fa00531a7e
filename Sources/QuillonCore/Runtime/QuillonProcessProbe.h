#pragma once

#include <cstdint>

namespace quillon {

/// Whether a process of that identifier exists, whoever it belongs to (kill(2) with signal 0).
[[nodiscard]] bool processExists(std::int32_t processIdentifier) noexcept;

}  // namespace quillon
