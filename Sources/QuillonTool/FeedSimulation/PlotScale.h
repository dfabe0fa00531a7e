#pragma once

#include <string>
#include <vector>

namespace quillon {

/// The values at which an axis from 0 is labelled.
class PlotScale {
 public:
  /// From 0 to at least `largest`, with at most `mostSteps` steps of 1, 2 or 5 times a power of ten, none below 1.
  PlotScale(double largest, int mostSteps);

  /// The last labelled value, above 0.
  [[nodiscard]] double end() const noexcept { return step_ * count_; }
  /// Labelled values in ascending order, 0 and the end among them.
  [[nodiscard]] std::vector<double> values() const;

 private:
  double step_ = 1;
  int count_ = 1;
};

/// `value` with a prefix of thousands: "0", "500", "1.5 k", "20 M".
[[nodiscard]] std::string scaledNumber(double value);

}  // namespace quillon
