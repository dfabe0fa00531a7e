#include "QuillonCore/Text/QuillonCaseFolding.h"

#include <utf8proc.h>

#include "QuillonCore/Text/QuillonScalars.h"

namespace quillon {
namespace {

char32_t takeFirstLowerCase(std::string_view& text) noexcept {
  const char32_t scalar = takeFirstScalar(text);
  if (scalar < 0x80) return scalar >= U'A' && scalar <= U'Z' ? scalar + (U'a' - U'A') : scalar;
  return static_cast<char32_t>(utf8proc_tolower(static_cast<utf8proc_int32_t>(scalar)));
}

}  // namespace

bool equalIgnoringCase(std::string_view a, std::string_view b) noexcept {
  while (!a.empty() && !b.empty()) {
    if (takeFirstLowerCase(a) != takeFirstLowerCase(b)) return false;
  }
  return a.empty() && b.empty();
}

}  // namespace quillon
