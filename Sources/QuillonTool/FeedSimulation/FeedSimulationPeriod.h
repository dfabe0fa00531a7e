#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include "QuillonCore/Contracts/QuillonCalendar.h"

namespace quillon {

/// The days of a simulation, divided into hours. Days that the clock makes longer or shorter have more or fewer hours.
class FeedSimulationPeriod {
 public:
  static constexpr std::int64_t kMostDays = 366;

  struct Day {
    std::chrono::year_month_day date;
    /// The moment for which the day's decisions are taken: twelve hours after the day starts. Entries are let go when a
    /// day starts, so that every hour of the day would decide the same. (Where the clock skipped midnight on a release
    /// day, groups wait until 01:00; that hour is given away.)
    QuillonDate noon;
    /// Counted from the start of the period.
    std::int64_t firstHour = 0;
    std::int64_t hourCount = 0;
  };

  /// `dayCount` days from `first` on. Throws QuillonToolUsageError for days that `calendar` does not reach. A day that
  /// the time zone leaves out has no hours.
  FeedSimulationPeriod(const QuillonCalendar& calendar, std::chrono::year_month_day first, std::int64_t dayCount);

  [[nodiscard]] const std::vector<Day>& days() const noexcept { return days_; }
  [[nodiscard]] std::int64_t hourCount() const noexcept { return hourCount_; }
  [[nodiscard]] QuillonDate start() const noexcept { return start_; }

 private:
  std::vector<Day> days_;
  std::int64_t hourCount_ = 0;
  QuillonDate start_{};
};

}  // namespace quillon
