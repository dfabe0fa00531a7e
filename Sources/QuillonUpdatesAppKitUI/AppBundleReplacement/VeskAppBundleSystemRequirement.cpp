#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleSystemRequirement.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "QuillonCore/Text/DecimalNumber.h"

namespace quillon {
namespace {

std::vector<std::int64_t> numericPieces(std::string_view text) {
  std::vector<std::int64_t> pieces;
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t period = std::min(text.find('.', position), text.size());
    if (period > position) {
      pieces.push_back(decimalNumber<std::int64_t>(text.substr(position, period - position)).value_or(0));
    }
    position = period + 1;
  }
  return pieces;
}

}  // namespace

ComparisonResult compareRequiredSystemVersion(std::string_view required, const QuillonSystemVersion& running) {
  const std::array<std::int64_t, 3> current = {running.major, running.minor, running.patch};
  std::vector<std::int64_t> pieces = numericPieces(required);
  pieces.resize(std::max(pieces.size(), current.size()), 0);
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    const std::int64_t counterpart = i < current.size() ? current.at(i) : 0;
    if (pieces[i] > counterpart) return ComparisonResult::descending;
    if (pieces[i] < counterpart) return ComparisonResult::ascending;
  }
  return ComparisonResult::same;
}

}  // namespace quillon
