#include <gtest/gtest.h>

#include "QuillonCore/Runtime/QuillonSystemCalendar.h"
#include "QuillonTool/FeedSimulation/FeedSimulationPeriod.h"
#include "QuillonTool/QuillonToolUsageError.h"
#include "Support/ScopedTimeZone.h"

namespace quillon {
namespace {

using std::chrono::hours;
using std::chrono::year_month_day;
using namespace std::chrono_literals;

FeedSimulationPeriod period(year_month_day first, std::int64_t days) {
  return {*makeSystemCalendar(), first, days};
}

TEST(FeedSimulationPeriodTest, DaysFollowOneAnother) {
  const ScopedTimeZone zone("UTC");

  const FeedSimulationPeriod days = period(2024y / 2 / 28, 3);

  ASSERT_EQ(days.days().size(), 3U);
  EXPECT_EQ(days.hourCount(), 72);
  EXPECT_EQ(days.days()[1].date, 2024y / 2 / 29);
  EXPECT_EQ(days.days()[2].date, 2024y / 3 / 1);
  EXPECT_EQ(days.days()[2].firstHour, 48);
  EXPECT_EQ(days.days()[2].noon, QuillonDate(std::chrono::sys_days(2024y / 3 / 1)) + hours(12));
}

TEST(FeedSimulationPeriodTest, DaysThatTheClockChangesHaveMoreOrFewerHours) {
  const ScopedTimeZone zone("Europe/Vienna");

  EXPECT_EQ(period(2024y / 3 / 31, 1).hourCount(), 23);
  EXPECT_EQ(period(2024y / 10 / 27, 1).hourCount(), 25);
}

TEST(FeedSimulationPeriodTest, AChangeOfHalfAnHourLosesNoMoment) {
  const ScopedTimeZone zone("Australia/Lord_Howe");

  const FeedSimulationPeriod days = period(2024y / 10 / 6, 2);  // 23.5 hours and 24

  EXPECT_EQ(days.days()[0].hourCount, 24);
  EXPECT_EQ(days.hourCount(), 48);
}

TEST(FeedSimulationPeriodTest, ADayThatTheZoneLeavesOutHasNoHours) {
  const ScopedTimeZone zone("Pacific/Apia");

  const FeedSimulationPeriod days = period(2011y / 12 / 29, 3);

  EXPECT_EQ(days.days()[0].hourCount, 24);
  EXPECT_EQ(days.days()[1].hourCount, 0);
  EXPECT_EQ(days.days()[2].hourCount, 24);
}

TEST(FeedSimulationPeriodTest, RefusesDaysBeyondTheCalendar) {
  const year_month_day last = std::chrono::year::max() / 12 / 31;

  EXPECT_THROW((void)period(last, 2), QuillonToolUsageError);
}

}  // namespace
}  // namespace quillon
