#pragma once

#include <charconv>
#include <concepts>
#include <optional>
#include <string_view>
#include <system_error>

namespace quillon {

/// The whole of `text` as a decimal number: ASCII digits, optionally led by one "+" or "-"; no blanks, no radix prefix.
/// Absent for anything else and for what does not fit. An unsigned number takes a "-" only before a zero.
template <std::integral Integer>
[[nodiscard]] std::optional<Integer> decimalNumber(std::string_view text) noexcept {
  const bool negative = text.starts_with('-');
  const bool isSigned = negative || text.starts_with('+');
  const std::string_view digits = isSigned ? text.substr(1) : text;
  if (digits.empty() || digits.front() < '0' || digits.front() > '9') return std::nullopt;
  const bool keepSign = negative && std::signed_integral<Integer>;
  const std::string_view number = keepSign ? text : digits;
  Integer value{};
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  if (error != std::errc{} || end != number.data() + number.size()) return std::nullopt;
  if (negative && !keepSign && value != 0) return std::nullopt;
  return value;
}

}  // namespace quillon
