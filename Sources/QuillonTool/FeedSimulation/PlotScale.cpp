#include "QuillonTool/FeedSimulation/PlotScale.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>

namespace quillon {

PlotScale::PlotScale(double largest, int mostSteps) {
  constexpr std::array<double, 3> kFactors = {1, 2, 5};
  for (double power = 1;; power *= 10) {
    for (const double factor : kFactors) {
      step_ = power * factor;
      if (std::ceil(largest / step_) > mostSteps) continue;
      count_ = std::max(1, static_cast<int>(std::ceil(largest / step_)));
      return;
    }
  }
}

std::vector<double> PlotScale::values() const {
  std::vector<double> values;
  for (int i = 0; i <= count_; ++i) values.push_back(step_ * i);
  return values;
}

std::string scaledNumber(double value) {
  constexpr std::array<const char*, 7> kPrefixes = {"", " k", " M", " G", " T", " P", " E"};
  std::size_t prefix = 0;
  while (value >= 1000 && prefix + 1 < kPrefixes.size()) {
    value /= 1000;
    ++prefix;
  }
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::general, 4);
  return std::string(digits.data(), end.ptr).append(kPrefixes[prefix]);
}

}  // namespace quillon
