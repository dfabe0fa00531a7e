#pragma once

#include <charconv>
#include <string>

namespace quillon {

// What QuillonCore/Text/RealNumber.h promises, by the functions of the C library in the locale "C".

[[nodiscard]] std::from_chars_result realFromCharactersInCLocale(const char* first, const char* last,
                                                                 double& value) noexcept;
[[nodiscard]] std::string shortestRealTextInCLocale(double value);
[[nodiscard]] std::string realTextInCLocale(double value, int significantDigits);

}  // namespace quillon
