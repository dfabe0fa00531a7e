#pragma once

#include <string_view>

#include "QuillonCore/Values/ComparisonResult.h"
#include "QuillonCore/Values/QuillonSystemVersion.h"

namespace quillon {

/// How the system version that a bundle requires (LSMinimumSystemVersion) is ordered against a running one. Pieces
/// between periods count as decimal numbers, those that are none as 0; pieces after the third compare with 0.
[[nodiscard]] ComparisonResult compareRequiredSystemVersion(std::string_view required,
                                                            const QuillonSystemVersion& running);

}  // namespace quillon
