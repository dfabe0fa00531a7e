#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "QuillonCore/Values/QuillonDate.h"

namespace quillon {

/// Days of the Gregorian calendar, extended to all years, in one time zone.
///
/// Implementations hold no mutable state and may be called from any thread.
class QuillonCalendar {
 public:
  virtual ~QuillonCalendar() = default;

  /// The first moment of `day`: 00:00, or later where the clock is put forward over midnight; of two midnights the
  /// first. Absent for a day that does not exist, in the calendar or in the zone, and for one that no date reaches.
  [[nodiscard]] virtual std::optional<QuillonDate> startOfDay(std::chrono::year_month_day day) const noexcept = 0;

  /// The same time of day as `date`, `days` days later on the calendar, whatever their length. A time that the clock
  /// passes over becomes the first moment after the gap; of two such times it is the first. Absent where no date
  /// reaches. No clock is further than a day from UTC, so that the answer is less than three days from as many days of
  /// 24 hours.
  [[nodiscard]] virtual std::optional<QuillonDate> addingDays(QuillonDate date, std::int64_t days) const noexcept = 0;
};

}  // namespace quillon
