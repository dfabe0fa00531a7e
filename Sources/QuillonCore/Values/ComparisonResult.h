#pragma once

#include <cstdint>

namespace quillon {

/// How the first of two things is ordered against the second.
enum class ComparisonResult : std::int8_t {
  ascending = -1,  ///< the first is older or smaller
  same = 0,
  descending = 1,  ///< the first is newer or larger
};

}  // namespace quillon
