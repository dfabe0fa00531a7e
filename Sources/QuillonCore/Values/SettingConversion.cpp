#include "QuillonCore/Values/SettingConversion.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>
#include <system_error>

#include "QuillonCore/Text/RealNumber.h"

namespace quillon {
namespace {

/// A number's text at the beginning of a string, taken apart so far that std::from_chars reads it.
struct NumberText {
  bool isNegative = false;
  /// Begins with a digit, or with a period for a real number.
  std::string_view digits;
};

bool isDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

NumberText numberText(std::string_view text) noexcept {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\r"), text.size()));
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) text.remove_prefix(1);
  return {.isNegative = isNegative, .digits = text};
}

std::int64_t leadingInteger(std::string_view text) noexcept {
  static constexpr std::int64_t kMaximum = std::numeric_limits<std::int64_t>::max();
  const auto [isNegative, digits] = numberText(text);
  if (digits.empty() || !isDigit(digits.front())) return 0;
  std::uint64_t magnitude = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), magnitude);
  if (error == std::errc::result_out_of_range || magnitude > static_cast<std::uint64_t>(kMaximum)) {
    return isNegative ? std::numeric_limits<std::int64_t>::min() : kMaximum;
  }
  const auto value = static_cast<std::int64_t>(magnitude);
  return isNegative ? -value : value;
}

/// The value of a number that no double holds: infinite, or too close to 0.
double valueOutOfRange(std::string_view number) noexcept {
  static constexpr std::int64_t kFar = 1'000'000'000'000;
  const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
  const std::string_view mantissa = number.substr(0, mark);
  const std::size_t first = mantissa.find_first_of("123456789");
  if (first == std::string_view::npos) return 0;
  const auto point = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size()));
  const std::int64_t exponent =
      mark == number.size() ? 0 : std::clamp(leadingInteger(number.substr(mark + 1)), -kFar, kFar);
  return point - static_cast<std::int64_t>(first) + exponent > 0 ? std::numeric_limits<double>::infinity() : 0;
}

double leadingReal(std::string_view text) noexcept {
  const auto [isNegative, digits] = numberText(text);
  // Words that std::from_chars takes for numbers ("inf", "nan") are none here.
  const bool isNumber = !digits.empty() && (isDigit(digits.front()) || digits.front() == '.');
  if (!isNumber) return 0;
  double magnitude = 0;
  const auto [end, error] = realFromCharacters(digits.data(), digits.data() + digits.size(), magnitude);
  if (error == std::errc::result_out_of_range) {
    magnitude = valueOutOfRange(digits.substr(0, static_cast<std::size_t>(end - digits.data())));
  }
  return isNegative ? -magnitude : magnitude;
}

std::int64_t withoutFraction(double value) noexcept {
  static constexpr double kEnd = 9223372036854775808.0;  // 2^63, the first one too large
  if (std::isnan(value)) return 0;
  if (value >= kEnd) return std::numeric_limits<std::int64_t>::max();
  if (value < -kEnd) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

}  // namespace

bool boolOfSetting(const QuillonPropertyListValue& value) noexcept {
  if (const auto* const boolean = value.getIf<bool>()) return *boolean;
  if (const auto* const integer = value.getIf<std::int64_t>()) return *integer != 0;
  if (const auto* const real = value.getIf<double>()) return *real != 0;
  const auto* const text = value.getIf<std::string>();
  return text != nullptr && (*text == "YES" || *text == "true" || *text == "1");
}

std::optional<std::string> stringOfSetting(const QuillonPropertyListValue& value) {
  if (const auto* const text = value.getIf<std::string>()) return *text;
  if (const auto* const boolean = value.getIf<bool>()) return *boolean ? "1" : "0";
  if (const auto* const integer = value.getIf<std::int64_t>()) return std::to_string(*integer);
  if (const auto* const real = value.getIf<double>()) return realText(*real, 16);
  return std::nullopt;
}

std::int64_t integerOfSetting(const QuillonPropertyListValue& value) noexcept {
  if (const auto* const integer = value.getIf<std::int64_t>()) return *integer;
  if (const auto* const boolean = value.getIf<bool>()) return *boolean ? 1 : 0;
  if (const auto* const real = value.getIf<double>()) return withoutFraction(*real);
  const auto* const text = value.getIf<std::string>();
  return text == nullptr ? 0 : leadingInteger(*text);
}

double doubleOfSetting(const QuillonPropertyListValue& value) noexcept {
  if (const auto* const real = value.getIf<double>()) return *real;
  if (const auto* const integer = value.getIf<std::int64_t>()) return static_cast<double>(*integer);
  const auto* const text = value.getIf<std::string>();
  return text == nullptr ? 0 : leadingReal(*text);
}

}  // namespace quillon
