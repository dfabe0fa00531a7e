#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptWindowSize.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <system_error>

#include "QuillonCore/Text/RealNumber.h"

namespace quillon {
namespace {

bool isDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

/// Whether a number begins at `position`, its sign left aside.
bool beginsNumber(std::string_view text, std::size_t position) noexcept {
  const std::string_view rest = text.substr(position);
  if (rest.empty()) return false;
  return isDigit(rest.front()) || (rest.front() == '.' && rest.size() > 1 && isDigit(rest[1]));
}

/// Removes everything up to the end of the first number from `text` and returns the number; 0 when there is none.
double takeNumber(std::string_view& text) noexcept {
  std::size_t start = 0;
  while (start < text.size() && !beginsNumber(text, start)) ++start;
  const bool isNegative = start > 0 && start < text.size() && text[start - 1] == '-';
  text.remove_prefix(start);
  if (text.empty()) return 0;

  double magnitude = 0;
  const auto [end, error] = realFromCharacters(text.data(), text.data() + text.size(), magnitude);
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  // Too close to 0 is no size either, so that both ways out of range may end as one.
  if (error == std::errc::result_out_of_range) magnitude = std::numeric_limits<double>::infinity();
  return isNegative ? -magnitude : magnitude;
}

bool isUsable(double measure) noexcept {
  return std::isfinite(measure) && measure > 0;
}

double usable(double measure, double preferred, double ordinary, double smallest, double largest) noexcept {
  if (!isUsable(measure)) measure = isUsable(preferred) ? preferred : ordinary;
  return std::clamp(measure, smallest, largest);
}

}  // namespace

VeskUpdatePromptWindowSize sizeFromString(std::string_view text) noexcept {
  const double width = takeNumber(text);
  const double height = takeNumber(text);
  return {.width = width, .height = height};
}

VeskUpdatePromptWindowSize usablePromptWindowSize(const VeskUpdatePromptWindowSize& size,
                                                  const VeskUpdatePromptWindowSize& defaultSize) noexcept {
  return {.width = usable(size.width, defaultSize.width, kOrdinaryPromptWindow.width, kSmallestPromptWindow.width,
                          kLargestPromptWindow.width),
          .height = usable(size.height, defaultSize.height, kOrdinaryPromptWindow.height, kSmallestPromptWindow.height,
                           kLargestPromptWindow.height)};
}

}  // namespace quillon
