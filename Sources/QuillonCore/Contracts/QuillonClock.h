#pragma once

#include "QuillonCore/Values/QuillonDate.h"

namespace quillon {

/// Tells the date. Callable from any thread.
class QuillonClock {
 public:
  virtual ~QuillonClock() = default;

  /// The date and time at this moment, in microseconds since 1970 without leap seconds.
  [[nodiscard]] virtual QuillonDate now() const noexcept = 0;
};

}  // namespace quillon
