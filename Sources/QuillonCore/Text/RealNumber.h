#pragma once

#include <charconv>
#include <string>

namespace quillon {

// Real numbers as text, whatever locale the process has: std::from_chars and std::to_chars, for the C++ libraries too
// that have no such functions for real numbers.

/// std::from_chars of `first` to `last`, in the general format.
[[nodiscard]] std::from_chars_result realFromCharacters(const char* first, const char* last, double& value) noexcept;

/// The shortest text that is read as `value` again, as std::to_chars writes it. `value` is finite.
[[nodiscard]] std::string shortestRealText(double value);

/// `value` with at most that many significant digits (1 to 17), as "%g" of printf writes it.
[[nodiscard]] std::string realText(double value, int significantDigits);

}  // namespace quillon
