#pragma once

#include <chrono>

namespace quillon {

/// A moment of the wall clock. Reaches about 292,000 years to both sides of 1970.
using QuillonDate = std::chrono::sys_time<std::chrono::microseconds>;

/// Stands for a date that is missing or cannot be formed: the first moment of year 1, UTC.
inline constexpr QuillonDate kDistantPast =
    std::chrono::sys_days{std::chrono::year{1} / std::chrono::January / std::chrono::day{1}};

}  // namespace quillon
