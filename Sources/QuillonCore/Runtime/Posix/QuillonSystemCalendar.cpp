#include "QuillonCore/Runtime/QuillonSystemCalendar.h"

#include <time.h>

#include <algorithm>
#include <limits>

namespace quillon {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::local_days;
using std::chrono::local_seconds;
using std::chrono::microseconds;
using std::chrono::seconds;
using std::chrono::sys_seconds;
using std::chrono::year_month_day;

/// Further than any zone's clock is from UTC, with the local mean times of the past: no offset applies to a local time
/// but those from a day before to a day after.
constexpr days kOffsetReach{1};

/// Local times whose moments are dates, whatever the offset.
constexpr local_seconds kEarliest{floor<seconds>(QuillonDate::min().time_since_epoch()) + 3 * kOffsetReach};
constexpr local_seconds kLatest{floor<seconds>(QuillonDate::max().time_since_epoch()) - 3 * kOffsetReach};

/// What the clock shows at `moment`.
std::optional<local_seconds> localTime(sys_seconds moment) noexcept {
  static_assert(std::numeric_limits<time_t>::digits >= 63, "dates reach further than 32 bits");
  const time_t time = moment.time_since_epoch().count();
  tm fields{};
  if (localtime_r(&time, &fields) == nullptr) return std::nullopt;
  // Years of a date are too many for std::chrono::year; 400 of them always have the same number of days.
  constexpr std::int64_t kDaysOfCycle = 146'097;
  const std::int64_t year = std::int64_t{fields.tm_year} + 1900;
  const std::int64_t cycle = (year >= 0 ? year : year - 399) / 400;
  const year_month_day day(std::chrono::year(static_cast<int>(year - cycle * 400)),
                           std::chrono::month(static_cast<unsigned>(fields.tm_mon) + 1),
                           std::chrono::day(static_cast<unsigned>(fields.tm_mday)));
  return local_days(day) + days(cycle * kDaysOfCycle) + std::chrono::hours(fields.tm_hour) +
         std::chrono::minutes(fields.tm_min) + seconds(fields.tm_sec);
}

/// The moment at which a clock that is `offset` ahead of UTC shows `local`.
sys_seconds momentOf(local_seconds local, seconds offset) noexcept {
  return sys_seconds(local.time_since_epoch() - offset);
}

/// How far the clock is ahead of UTC at `moment`.
std::optional<seconds> offsetAt(sys_seconds moment) noexcept {
  const std::optional<local_seconds> local = localTime(moment);
  if (!local) return std::nullopt;
  return local->time_since_epoch() - moment.time_since_epoch();
}

/// The first of the moments after `early`, up to `late`, at which the clock shows `local` or more. It is put forward
/// over `local` between the two.
sys_seconds endOfGap(local_seconds local, sys_seconds early, sys_seconds late) noexcept {
  while (late - early > seconds(1)) {
    const sys_seconds middle = early + (late - early) / 2;
    const std::optional<local_seconds> shown = localTime(middle);
    (shown && *shown < local ? early : late) = middle;
  }
  return late;
}

struct FirstMoment {
  sys_seconds moment;
  /// The clock never shows the time that was asked for: `moment` is the end of the gap.
  bool isAfterGap = false;
};

/// The first moment at which the clock shows `local`, or the end of the gap in which it would.
std::optional<FirstMoment> firstMoment(local_seconds local) noexcept {
  if (local < kEarliest || local > kLatest) return std::nullopt;
  const std::optional<seconds> before = offsetAt(momentOf(local, kOffsetReach));
  const std::optional<seconds> after = offsetAt(momentOf(local, -seconds(kOffsetReach)));
  if (!before || !after) return std::nullopt;
  if (*before == *after) return FirstMoment{momentOf(local, *before)};
  const sys_seconds early = momentOf(local, std::max(*before, *after));
  const sys_seconds late = momentOf(local, std::min(*before, *after));
  if (localTime(early) == local) return FirstMoment{early};
  if (localTime(late) == local) return FirstMoment{late};
  return FirstMoment{endOfGap(local, early, late), true};
}

class SystemCalendar final : public QuillonCalendar {
 public:
  [[nodiscard]] std::optional<QuillonDate> startOfDay(year_month_day day) const noexcept override {
    if (!day.ok()) return std::nullopt;
    const local_days midnight(day);
    const std::optional<FirstMoment> start = firstMoment(midnight);
    if (!start) return std::nullopt;
    if (start->isAfterGap) {
      // A zone that moves over the date line leaves out a whole day.
      const std::optional<local_seconds> shown = localTime(start->moment);
      if (!shown || floor<days>(*shown) != midnight) return std::nullopt;
    }
    return start->moment;
  }

  [[nodiscard]] std::optional<QuillonDate> addingDays(QuillonDate date, std::int64_t count) const noexcept override {
    constexpr std::int64_t kMostDays = floor<days>(microseconds::max()).count() * 2;
    if (count > kMostDays || count < -kMostDays) return std::nullopt;
    const auto second = floor<seconds>(date);
    const std::optional<local_seconds> local = localTime(second);
    if (!local || *local < kEarliest) return std::nullopt;
    const std::optional<FirstMoment> found = firstMoment(*local + days(count));
    if (!found) return std::nullopt;
    return found->moment + (date - second);
  }
};

}  // namespace

std::shared_ptr<const QuillonCalendar> makeSystemCalendar() {
  tzset();
  return std::make_shared<SystemCalendar>();
}

}  // namespace quillon
