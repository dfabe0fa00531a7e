#include "QuillonTool/FeedSimulation/FeedSimulationPeriod.h"

#include <optional>

#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {
namespace {

using std::chrono::hours;
using std::chrono::sys_days;
using std::chrono::year_month_day;

/// The start of `day`, or of the next one where the time zone leaves it out.
QuillonDate startOf(const QuillonCalendar& calendar, sys_days day) {
  for (int attempt = 0; attempt < 3; ++attempt, day += std::chrono::days(1)) {
    const year_month_day date(day);
    if (!date.ok()) break;
    if (const std::optional<QuillonDate> start = calendar.startOfDay(date)) return *start;
  }
  throw QuillonToolUsageError("The days to simulate are out of the calendar's reach; choose an earlier start.");
}

/// Whole hours from `start` until `end` is reached.
std::int64_t hoursUntil(QuillonDate end, QuillonDate start) {
  return std::chrono::ceil<hours>(end - start).count();
}

}  // namespace

FeedSimulationPeriod::FeedSimulationPeriod(const QuillonCalendar& calendar, year_month_day first, std::int64_t dayCount)
    : start_(startOf(calendar, sys_days(first))) {
  days_.reserve(static_cast<std::size_t>(dayCount));
  QuillonDate dayStart = start_;
  for (std::int64_t i = 0; i < dayCount; ++i) {
    const sys_days day = sys_days(first) + std::chrono::days(i);
    const QuillonDate nextStart = startOf(calendar, day + std::chrono::days(1));
    const std::int64_t end = hoursUntil(nextStart, start_);
    days_.push_back({.date = year_month_day(day),
                     .noon = dayStart + hours(12),
                     .firstHour = hourCount_,
                     .hourCount = end - hourCount_});
    hourCount_ = end;
    dayStart = nextStart;
  }
}

}  // namespace quillon
