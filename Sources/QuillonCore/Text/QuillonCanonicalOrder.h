#pragma once

#include <string>
#include <string_view>

#include "QuillonCore/Values/ComparisonResult.h"

namespace quillon {

/// The canonical decomposition of `scalars` (normalization form D, UAX #15).
[[nodiscard]] std::u32string canonicallyDecomposed(std::u32string_view scalars);

/// Orders two texts by the scalars of their canonical decompositions: case counts, composed and decomposed spellings of
/// a character do not.
[[nodiscard]] ComparisonResult compareCanonically(std::u32string_view a, std::u32string_view b);

}  // namespace quillon
