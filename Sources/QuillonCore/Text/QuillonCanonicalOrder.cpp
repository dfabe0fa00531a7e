#include "QuillonCore/Text/QuillonCanonicalOrder.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>

namespace quillon {
namespace {

utf8proc_propval_t combiningClass(char32_t scalar) noexcept {
  return utf8proc_get_property(static_cast<utf8proc_int32_t>(scalar))->combining_class;
}

void appendDecomposition(std::u32string& text, char32_t scalar) {
  std::array<utf8proc_int32_t, 8> parts{};  // canonical decompositions have at most four scalars
  int boundaryClass = 0;
  const utf8proc_ssize_t count =
      utf8proc_decompose_char(static_cast<utf8proc_int32_t>(scalar), parts.data(),
                              static_cast<utf8proc_ssize_t>(parts.size()), UTF8PROC_DECOMPOSE, &boundaryClass);
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) text += static_cast<char32_t>(parts.at(i));
}

/// Brings every run of combining marks into canonical order.
void orderMarks(std::u32string& text) {
  auto run = text.begin();
  while (run != text.end()) {
    run = std::find_if(run, text.end(), [](char32_t c) { return combiningClass(c) != 0; });
    const auto end = std::find_if(run, text.end(), [](char32_t c) { return combiningClass(c) == 0; });
    std::stable_sort(run, end, [](char32_t x, char32_t y) { return combiningClass(x) < combiningClass(y); });
    run = end;
  }
}

}  // namespace

std::u32string canonicallyDecomposed(std::u32string_view scalars) {
  std::u32string decomposed;
  decomposed.reserve(scalars.size());
  for (const char32_t scalar : scalars) appendDecomposition(decomposed, scalar);
  orderMarks(decomposed);
  return decomposed;
}

ComparisonResult compareCanonically(std::u32string_view a, std::u32string_view b) {
  const int order = canonicallyDecomposed(a).compare(canonicallyDecomposed(b));
  if (order == 0) return ComparisonResult::same;
  return order < 0 ? ComparisonResult::ascending : ComparisonResult::descending;
}

}  // namespace quillon
