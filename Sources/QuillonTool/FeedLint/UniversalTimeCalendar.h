#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "QuillonCore/Contracts/QuillonCalendar.h"

namespace quillon {

/// Days of universal time, so that what is said about a feed does not depend on where it is checked.
class UniversalTimeCalendar final : public QuillonCalendar {
 public:
  [[nodiscard]] std::optional<QuillonDate> startOfDay(std::chrono::year_month_day day) const noexcept override {
    if (!day.ok()) return std::nullopt;
    return std::chrono::sys_days(day);
  }
  /// `days` must not lead out of the dates there are.
  [[nodiscard]] std::optional<QuillonDate> addingDays(QuillonDate date, std::int64_t days) const noexcept override {
    return date + std::chrono::days(days);
  }
};

}  // namespace quillon
