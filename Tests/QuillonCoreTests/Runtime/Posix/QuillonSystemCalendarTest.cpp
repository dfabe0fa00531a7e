#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string>

#include "QuillonCore/Runtime/QuillonSystemCalendar.h"
#include "Support/ScopedTimeZone.h"

namespace quillon {
namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::microseconds;
using std::chrono::minutes;
using std::chrono::month;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::year;
using std::chrono::year_month_day;

constexpr year_month_day dayOf(int y, unsigned m, unsigned d) {
  return {year(y), month(m), std::chrono::day(d)};
}

constexpr QuillonDate utc(int y, unsigned m, unsigned d, int hour = 0, int minute = 0) {
  return sys_days(dayOf(y, m, d)) + hours(hour) + minutes(minute);
}

struct StartCase {
  std::string name;
  std::string zone;
  year_month_day day;
  QuillonDate start;
};

void PrintTo(const StartCase& startCase, std::ostream* out) {
  *out << startCase.name;
}

class QuillonSystemCalendarStartTest : public ::testing::TestWithParam<StartCase> {};

TEST_P(QuillonSystemCalendarStartTest, IsTheFirstMomentOfTheDay) {
  const ScopedTimeZone zone(GetParam().zone);

  const auto start = makeSystemCalendar()->startOfDay(GetParam().day);

  EXPECT_EQ(start, GetParam().start);
}

INSTANTIATE_TEST_SUITE_P(
    Zones, QuillonSystemCalendarStartTest,
    ::testing::Values(
        StartCase{"UTC", "UTC", dayOf(2024, 2, 29), utc(2024, 2, 29)},
        StartCase{"EastOfGreenwich", "Asia/Tokyo", dayOf(2024, 1, 1), utc(2023, 12, 31, 15)},
        StartCase{"WestOfGreenwich", "America/Los_Angeles", dayOf(2024, 1, 1), utc(2024, 1, 1, 8)},
        StartCase{"QuarterOfAnHour", "Asia/Kathmandu", dayOf(2024, 1, 1), utc(2023, 12, 31, 18, 15)},
        StartCase{"FarthestEast", "Pacific/Kiritimati", dayOf(2024, 1, 1), utc(2023, 12, 31, 10)},
        StartCase{"Summer", "Europe/Vienna", dayOf(2024, 7, 1), utc(2024, 6, 30, 22)},
        StartCase{"DayOfTheChangeInSpring", "Europe/Vienna", dayOf(2024, 3, 31), utc(2024, 3, 30, 23)},
        StartCase{"DayAfterTheChangeInSpring", "Europe/Vienna", dayOf(2024, 4, 1), utc(2024, 3, 31, 22)},
        StartCase{"DayOfTheChangeInAutumn", "Europe/Vienna", dayOf(2024, 10, 27), utc(2024, 10, 26, 22)},
        StartCase{"DayAfterTheChangeInAutumn", "Europe/Vienna", dayOf(2024, 10, 28), utc(2024, 10, 27, 23)},
        StartCase{"DayThatStartsAtOneInBeirut", "Asia/Beirut", dayOf(2024, 3, 31), utc(2024, 3, 30, 22)},
        StartCase{"DayThatStartsAtOneInAsuncion", "America/Asuncion", dayOf(2023, 10, 1), utc(2023, 10, 1, 4)},
        StartCase{"DayThatStartsAtHalfPastMidnight", "America/Toronto", dayOf(1919, 3, 31), utc(1919, 3, 31, 4, 30)},
        StartCase{"DayWithTwoMidnights", "America/Havana", dayOf(2023, 11, 5), utc(2023, 11, 5, 4)},
        StartCase{"DayThatHasElevenOClockInTheEveningTwice", "Asia/Beirut", dayOf(2023, 10, 29), utc(2023, 10, 28, 22)},
        StartCase{"Year9999", "Europe/Vienna", dayOf(9999, 7, 1), utc(9999, 6, 30, 22)},
        StartCase{"Year1", "UTC", dayOf(1, 1, 1), kDistantPast},
        StartCase{"YearBeforeYear0", "UTC", dayOf(-400, 3, 1), utc(-400, 3, 1)},
        StartCase{"LastYearOfTheStandardLibrary", "UTC", dayOf(32767, 12, 31), utc(32767, 12, 31)}),
    [](const auto& testInfo) { return testInfo.param.name; });

TEST(QuillonSystemCalendarTest, ADayThatIsOnNoCalendarHasNoStart) {
  EXPECT_EQ(makeSystemCalendar()->startOfDay(dayOf(2023, 2, 29)), std::nullopt);
  EXPECT_EQ(makeSystemCalendar()->startOfDay(dayOf(2023, 13, 1)), std::nullopt);
}

TEST(QuillonSystemCalendarTest, ADayThatTheZoneLeftOutHasNoStart) {
  const ScopedTimeZone zone("Pacific/Apia");  // went over the date line at the end of 29 December 2011

  EXPECT_EQ(makeSystemCalendar()->startOfDay(dayOf(2011, 12, 30)), std::nullopt);
  EXPECT_EQ(makeSystemCalendar()->startOfDay(dayOf(2011, 12, 31)), utc(2011, 12, 30, 10));
}

TEST(QuillonSystemCalendarTest, EveryDayOfTenYearsStartsWhereTheDayBeforeEnds) {
  for (const char* const name : {"Asia/Beirut", "America/Asuncion", "America/Havana", "Australia/Lord_Howe"}) {
    SCOPED_TRACE(name);
    const ScopedTimeZone zone(name);
    const auto calendar = makeSystemCalendar();
    for (sys_days day = dayOf(2014, 1, 1); day < sys_days(dayOf(2024, 1, 1)); day += days(1)) {
      const auto start = calendar->startOfDay(day);
      ASSERT_TRUE(start);

      time_t before = std::chrono::floor<seconds>(*start).time_since_epoch().count() - 1;
      tm fields{};
      localtime_r(&before, &fields);

      const year_month_day shown =
          dayOf(fields.tm_year + 1900, static_cast<unsigned>(fields.tm_mon) + 1, static_cast<unsigned>(fields.tm_mday));
      ASSERT_EQ(sys_days(shown), day - days(1));
    }
  }
}

TEST(QuillonSystemCalendarTest, DaysAreAddedOverTheChangesOfTheClock) {
  const ScopedTimeZone zone("Europe/Vienna");
  const auto calendar = makeSystemCalendar();

  EXPECT_EQ(calendar->addingDays(utc(2024, 3, 28, 23), 3), utc(2024, 3, 31, 22)) << "71 hours";
  EXPECT_EQ(calendar->addingDays(utc(2024, 10, 24, 22), 3), utc(2024, 10, 27, 23)) << "73 hours";
  EXPECT_EQ(calendar->addingDays(utc(2024, 5, 31, 22), 3), utc(2024, 6, 3, 22)) << "72 hours";
}

TEST(QuillonSystemCalendarTest, DaysAreTakenAway) {
  const ScopedTimeZone zone("Europe/Vienna");

  EXPECT_EQ(makeSystemCalendar()->addingDays(utc(2024, 3, 31, 22), -3), utc(2024, 3, 28, 23));
}

TEST(QuillonSystemCalendarTest, ATimeThatTheClockPassesOverIsTheFirstAfterTheGap) {
  const ScopedTimeZone zone("Asia/Beirut");  // 31 March 2024 started at 01:00
  const auto calendar = makeSystemCalendar();

  EXPECT_EQ(calendar->addingDays(utc(2024, 3, 27, 22), 3), utc(2024, 3, 30, 22)) << "from 00:00";
  EXPECT_EQ(calendar->addingDays(utc(2024, 3, 27, 22, 30), 3), utc(2024, 3, 30, 22)) << "from 00:30";
}

TEST(QuillonSystemCalendarTest, TheTimeOfADayThatStartsAtOneIsKept) {
  const ScopedTimeZone zone("Asia/Beirut");

  EXPECT_EQ(makeSystemCalendar()->addingDays(utc(2024, 3, 30, 22), 1), utc(2024, 3, 31, 22));
}

TEST(QuillonSystemCalendarTest, OfATimeThatComesTwiceTheFirstIsTaken) {
  const ScopedTimeZone zone("America/Havana");  // had two midnights on 5 November 2023

  EXPECT_EQ(makeSystemCalendar()->addingDays(utc(2023, 11, 2, 4), 3), utc(2023, 11, 5, 4));
}

TEST(QuillonSystemCalendarTest, FractionsOfASecondStay) {
  const ScopedTimeZone zone("UTC");

  EXPECT_EQ(makeSystemCalendar()->addingDays(utc(2024, 1, 1) + microseconds(7), 1), utc(2024, 1, 2) + microseconds(7));
  EXPECT_EQ(makeSystemCalendar()->addingDays(utc(1960, 1, 1) + microseconds(7), 1), utc(1960, 1, 2) + microseconds(7));
}

TEST(QuillonSystemCalendarTest, DaysAreAddedToYearsFarAway) {
  const ScopedTimeZone zone("UTC");
  const auto calendar = makeSystemCalendar();

  EXPECT_EQ(calendar->addingDays(kDistantPast, 1'000'000), kDistantPast + days(1'000'000));
  EXPECT_EQ(calendar->addingDays(utc(2024, 1, 1), 100'000'000), utc(2024, 1, 1) + days(100'000'000));
  EXPECT_EQ(calendar->addingDays(utc(2024, 1, 1), -100'000'000), utc(2024, 1, 1) - days(100'000'000));
}

TEST(QuillonSystemCalendarTest, WhatNoDateReachesIsAbsent) {
  const ScopedTimeZone zone("UTC");
  const auto calendar = makeSystemCalendar();
  using Limits = std::numeric_limits<std::int64_t>;

  for (const std::int64_t count : {Limits::max(), Limits::min(), std::int64_t{110'000'000}, std::int64_t{-110'000'000},
                                   Limits::max() / 86'400, std::int64_t{1} << 33}) {
    EXPECT_EQ(calendar->addingDays(utc(2024, 1, 1), count), std::nullopt) << count;
  }
  EXPECT_EQ(calendar->addingDays(QuillonDate::max(), 1), std::nullopt);
  EXPECT_EQ(calendar->addingDays(QuillonDate::min(), -1), std::nullopt);
  EXPECT_EQ(calendar->addingDays(QuillonDate::min(), 10), std::nullopt) << "where offsets might leave the dates";
}

TEST(QuillonSystemCalendarTest, AnotherCallSeesAnotherZone) {
  const ScopedTimeZone zone("UTC");
  const auto calendar = makeSystemCalendar();
  EXPECT_EQ(calendar->startOfDay(dayOf(2024, 1, 1)), utc(2024, 1, 1));

  const ScopedTimeZone other("Asia/Tokyo");

  EXPECT_EQ(makeSystemCalendar()->startOfDay(dayOf(2024, 1, 1)), utc(2023, 12, 31, 15));
}

}  // namespace
}  // namespace quillon
