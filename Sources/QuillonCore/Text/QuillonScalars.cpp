#include "QuillonCore/Text/QuillonScalars.h"

#include <utf8proc.h>

namespace quillon {

char32_t takeFirstScalar(std::string_view& text) noexcept {
  if (const auto first = static_cast<unsigned char>(text.front()); first < 0x80) {
    text.remove_prefix(1);
    return first;
  }
  utf8proc_int32_t scalar = 0;
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  const utf8proc_ssize_t length = utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size()), &scalar);
  const bool wellFormed = length > 0;
  const char32_t result = wellFormed ? static_cast<char32_t>(scalar) : 0xDC00U + bytes[0];
  text.remove_prefix(wellFormed ? static_cast<std::size_t>(length) : 1);
  return result;
}

std::u32string decodeScalars(std::string_view text) {
  std::u32string scalars;
  scalars.reserve(text.size());
  while (!text.empty()) scalars += takeFirstScalar(text);
  return scalars;
}

}  // namespace quillon
