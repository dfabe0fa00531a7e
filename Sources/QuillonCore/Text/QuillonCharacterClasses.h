#pragma once

#include <cstdint>
#include <string_view>

namespace quillon {

/// Whether `scalar` is a decimal digit of any script (general category Nd).
[[nodiscard]] bool isDecimalDigit(char32_t scalar) noexcept;

/// Value, 0 to 9, of a scalar for which isDecimalDigit holds.
[[nodiscard]] std::uint8_t decimalDigitValue(char32_t scalar) noexcept;

/// Whether `scalar` is a blank or ends a line: property White_Space, which is the general categories Z* together with
/// U+0009 to U+000D and U+0085.
[[nodiscard]] bool isWhitespaceOrNewline(char32_t scalar) noexcept;

/// Whether `scalar` is punctuation (general categories P*). Symbols such as '+' are not.
[[nodiscard]] bool isPunctuation(char32_t scalar) noexcept;

/// Whether `scalar` is a letter of any script or a mark of one (general categories L* and M*), as in the letters
/// character class of Foundation.
[[nodiscard]] bool isLetter(char32_t scalar) noexcept;

/// Whether any scalar of `text` (UTF-8) is a letter of any script.
[[nodiscard]] bool containsLetter(std::string_view text) noexcept;

}  // namespace quillon
