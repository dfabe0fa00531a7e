#pragma once

#include "QuillonCore/Contracts/QuillonClock.h"

namespace quillon {

/// The machine's clock, read at each call. It goes back when somebody sets it back.
class QuillonSystemClock final : public QuillonClock {
 public:
  [[nodiscard]] QuillonDate now() const noexcept override {
    return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
  }

  friend bool operator==(const QuillonSystemClock&, const QuillonSystemClock&) noexcept { return true; }
};

}  // namespace quillon
