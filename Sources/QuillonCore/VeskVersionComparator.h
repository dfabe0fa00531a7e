#pragma once

#include <optional>
#include <string_view>

#include "QuillonCore/Values/ComparisonResult.h"

namespace quillon {

/// The one rule that orders version strings, of any shape: runs of digits, runs of other characters and single
/// separators are compared pairwise. Never fails; malformed UTF-8 is read with each bad byte as a character of its own.
class VeskVersionComparator {
 public:
  /// How `version` is ordered against `toVersion` (UTF-8). An absent version is an empty one.
  [[nodiscard]] static ComparisonResult compareVersion(std::optional<std::string_view> version,
                                                       std::optional<std::string_view> toVersion);
};

}  // namespace quillon
