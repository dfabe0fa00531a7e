#include "QuillonCore/Text/Posix/RealNumberInCLocale.h"

#include <locale.h>
#if __has_include(<xlocale.h>)
#include <xlocale.h>
#endif

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>
#include <system_error>

namespace quillon {
namespace {

/// Gives this thread the locale "C" while it lives.
class CLocale {
 public:
  CLocale() noexcept : previous_(uselocale(theLocale())) {}
  ~CLocale() { uselocale(previous_); }
  CLocale(const CLocale&) = delete;
  CLocale& operator=(const CLocale&) = delete;

 private:
  /// Never freed: threads may use it to the end. Without memory for it, 0, which leaves the thread's locale as it is.
  static locale_t theLocale() noexcept {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
  }

  locale_t previous_;
};

std::size_t countOfDigits(std::string_view text) noexcept {
  const auto end = std::ranges::find_if_not(text, [](char c) { return c >= '0' && c <= '9'; });
  return static_cast<std::size_t>(end - text.begin());
}

/// How much of `text` is a number with digits, in decimal; 0 when none begins there.
std::size_t lengthOfDecimal(std::string_view text) noexcept {
  std::size_t length = text.starts_with('-') ? 1 : 0;
  std::size_t digits = countOfDigits(text.substr(length));
  length += digits;
  if (text.substr(length).starts_with('.')) {
    const std::size_t fraction = countOfDigits(text.substr(length + 1));
    digits += fraction;
    length += fraction + (digits > 0 ? 1 : 0);
  }
  if (digits == 0) return 0;
  if (length < text.size() && (text[length] == 'e' || text[length] == 'E')) {
    const bool hasSign = length + 1 < text.size() && (text[length + 1] == '-' || text[length + 1] == '+');
    const std::size_t exponent = length + (hasSign ? 2 : 1);
    const std::size_t count = exponent < text.size() ? countOfDigits(text.substr(exponent)) : 0;
    if (count > 0) length = exponent + count;
  }
  return length;
}

bool matchesIgnoringCase(std::string_view text, std::string_view lowerCase) noexcept {
  return text.size() >= lowerCase.size() &&
         std::ranges::equal(text.substr(0, lowerCase.size()), lowerCase, {},
                            [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : +c; });
}

/// How much of `text` is a word for what has no digits; 0 when none begins there.
std::size_t lengthOfWord(std::string_view text) noexcept {
  const std::size_t sign = text.starts_with('-') ? 1 : 0;
  for (const std::string_view word : {"infinity", "inf", "nan"}) {
    if (matchesIgnoringCase(text.substr(sign), word)) return sign + word.size();
  }
  return 0;
}

std::string formatted(const char* format, int precision, double value) {
  const CLocale locale;
  std::array<char, 512> text{};  // "%f" of the largest double takes 309 digits
  const int length = std::snprintf(text.data(), text.size(), format, precision, value);
  return {text.data(), static_cast<std::size_t>(length)};
}

double parsed(const std::string& text) noexcept {
  const CLocale locale;
  return std::strtod(text.c_str(), nullptr);
}

}  // namespace

std::from_chars_result realFromCharactersInCLocale(const char* first, const char* last, double& value) noexcept {
  const std::string_view text(first, static_cast<std::size_t>(last - first));
  const std::size_t digits = lengthOfDecimal(text);
  const std::size_t length = digits > 0 ? digits : lengthOfWord(text);
  if (length == 0) return {first, std::errc::invalid_argument};
  try {
    const double result = parsed(std::string(text.substr(0, length)));
    const std::string_view mantissa = text.substr(0, std::min(text.find_first_of("eE"), length));
    const bool isTooSmall = result == 0 && mantissa.find_first_of("123456789") != std::string_view::npos;
    if (digits > 0 && (std::isinf(result) || isTooSmall)) return {first + length, std::errc::result_out_of_range};
    value = result;
    return {first + length, std::errc{}};
  } catch (const std::exception&) {
    return {first, std::errc::not_enough_memory};
  }
}

std::string shortestRealTextInCLocale(double value) {
  int digits = 1;
  std::string scientific = formatted("%.*e", digits - 1, value);
  while (digits < 17 && parsed(scientific) != value) scientific = formatted("%.*e", digits++, value);
  const int exponent = static_cast<int>(std::strtol(scientific.c_str() + scientific.find('e') + 1, nullptr, 10));
  std::string fixed = formatted("%.*f", std::max(0, digits - 1 - exponent), value);
  return fixed.size() <= scientific.size() ? fixed : scientific;
}

std::string realTextInCLocale(double value, int significantDigits) {
  return formatted("%.*g", significantDigits, value);
}

}  // namespace quillon
