#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

#include "QuillonCore/Contracts/QuillonMonotonicTime.h"

namespace quillon {

/// Shows how far a simulation is, in one line that is written over and over, once it has taken a second.
class FeedSimulationProgressLine {
 public:
  /// `write` takes text as it stands and brings it to the terminal at once.
  FeedSimulationProgressLine(QuillonMonotonicTimeProvider now, std::function<void(std::string_view)> write);

  void show(std::size_t done, std::size_t total);
  /// Removes the line.
  void clear();

 private:
  QuillonMonotonicTimeProvider now_;
  std::function<void(std::string_view)> write_;
  std::uint64_t start_;
  bool isShown_ = false;
};

}  // namespace quillon
