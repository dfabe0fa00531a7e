#include "QuillonCore/Text/QuillonCaseFolding.h"

#include <utf8proc.h>

#include "QuillonCore/Text/QuillonScalars.h"

namespace quillon {
namespace {

char32_t takeFirstLowerCase(std::string_view& text) noexcept {
  return static_cast<char32_t>(utf8proc_tolower(static_cast<utf8proc_int32_t>(takeFirstScalar(text))));
}

}  // namespace

bool equalIgnoringCase(std::string_view a, std::string_view b) noexcept {
  while (!a.empty() && !b.empty()) {
    if (takeFirstLowerCase(a) != takeFirstLowerCase(b)) return false;
  }
  return a.empty() && b.empty();
}

}  // namespace quillon
