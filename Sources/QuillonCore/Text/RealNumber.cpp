#include "QuillonCore/Text/RealNumber.h"

#include <version>

#ifdef __cpp_lib_to_chars  // defined where the library has all of them, and the system that is compiled for too

#include <array>

namespace quillon {

std::from_chars_result realFromCharacters(const char* first, const char* last, double& value) noexcept {
  return std::from_chars(first, last, value);
}

std::string shortestRealText(double value) {
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

std::string realText(double value, int significantDigits) {
  std::array<char, 32> text{};
  char* const end = text.data() + text.size();
  return {text.data(), std::to_chars(text.data(), end, value, std::chars_format::general, significantDigits).ptr};
}

}  // namespace quillon

#else

#include "QuillonCore/Text/Posix/RealNumberInCLocale.h"

namespace quillon {

std::from_chars_result realFromCharacters(const char* first, const char* last, double& value) noexcept {
  return realFromCharactersInCLocale(first, last, value);
}

std::string shortestRealText(double value) {
  return shortestRealTextInCLocale(value);
}

std::string realText(double value, int significantDigits) {
  return realTextInCLocale(value, significantDigits);
}

}  // namespace quillon

#endif
