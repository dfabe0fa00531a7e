#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// What reading a value's text gave: the value, or the problem with it.
template <typename T>
struct PropertyListScalar {
  std::optional<T> value;
  std::string problem;

  static PropertyListScalar of(T value) { return {std::move(value), {}}; }
  static PropertyListScalar wrong(std::string_view text, std::string_view why);
};

/// Blanks, tabs and line ends of XML.
[[nodiscard]] constexpr bool isPropertyListSpace(char c) noexcept {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
[[nodiscard]] std::string_view withoutOuterSpace(std::string_view text) noexcept;

/// The value of a hexadecimal digit, else -1.
[[nodiscard]] constexpr int hexDigitValue(char c) noexcept {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

/// A decimal integer, or a hexadecimal one after "0x", either with a sign. Outer space is allowed.
[[nodiscard]] PropertyListScalar<std::int64_t> parsePropertyListInteger(std::string_view text);
/// A decimal number, "nan", "inf" or "infinity" with a sign. Outer space is allowed.
[[nodiscard]] PropertyListScalar<double> parsePropertyListReal(std::string_view text);
/// "YYYY-MM-DDTHH:MM:SSZ", a day and time of day that exist. Outer space is allowed.
[[nodiscard]] PropertyListScalar<QuillonPropertyListDate> parsePropertyListDate(std::string_view text);
/// Base64 (RFC 4648, section 4) with space anywhere; the padding may be missing.
[[nodiscard]] PropertyListScalar<std::string> parsePropertyListBase64(std::string_view text);

/// The shortest text that reads back as `value`.
[[nodiscard]] std::string propertyListRealText(double value);
/// "YYYY-MM-DDTHH:MM:SSZ", fractions of a second cut off. Throws QuillonPropertyListError outside the years 0 to 9999.
[[nodiscard]] std::string propertyListDateText(QuillonPropertyListDate date);
/// Base64 (RFC 4648, section 4) in one line.
[[nodiscard]] std::string propertyListBase64(const std::vector<std::uint8_t>& bytes);

}  // namespace quillon
