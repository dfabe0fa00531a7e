#pragma once

#include "QuillonCore/Contracts/QuillonClock.h"

namespace quillon::testing {

/// A clock that stands still.
class FixedClock final : public QuillonClock {
 public:
  explicit FixedClock(QuillonDate now) noexcept : now_(now) {}

  [[nodiscard]] QuillonDate now() const noexcept override { return now_; }

 private:
  const QuillonDate now_;
};

}  // namespace quillon::testing
