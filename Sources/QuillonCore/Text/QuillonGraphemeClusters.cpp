#include "QuillonCore/Text/QuillonGraphemeClusters.h"

#include <utf8proc.h>

namespace quillon {
namespace {

/// UAX #29 counts surrogates, which stand for bad bytes here, as controls; the library's tables do not.
constexpr bool isSurrogate(char32_t scalar) noexcept {
  return scalar >= 0xD800 && scalar <= 0xDFFF;
}

}  // namespace

std::size_t firstGraphemeClusterLength(std::u32string_view scalars) noexcept {
  utf8proc_int32_t state = 0;
  for (std::size_t i = 1; i < scalars.size(); ++i) {
    if (isSurrogate(scalars[i - 1]) || isSurrogate(scalars[i])) return i;
    const auto before = static_cast<utf8proc_int32_t>(scalars[i - 1]);
    const auto after = static_cast<utf8proc_int32_t>(scalars[i]);
    if (utf8proc_grapheme_break_stateful(before, after, &state)) return i;
  }
  return scalars.size();
}

}  // namespace quillon
