#pragma once

#include <string_view>

#include "QuillonCore/Values/ComparisonResult.h"
#include "QuillonCore/VeskVersionComparator.h"

namespace quillon {

/// The version ordering handed to the feed evaluators.
struct VeskUpdateVersionComparison {
  /// How version `a` is ordered against version `b`.
  [[nodiscard]] static ComparisonResult compare(std::string_view a, std::string_view b) {
    return VeskVersionComparator::compareVersion(a, b);
  }
};

}  // namespace quillon
