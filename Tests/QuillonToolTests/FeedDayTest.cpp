#include <gtest/gtest.h>

#include "QuillonCore/Runtime/QuillonSystemCalendar.h"
#include "QuillonTool/FeedDay.h"
#include "Support/ScopedTimeZone.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;

TEST(FeedDayTest, IsReadAndWritten) {
  EXPECT_EQ(feedDay("2024-02-29"), 2024y / 2 / 29);
  EXPECT_EQ(feedDayText(2024y / 2 / 29), "2024-02-29");
  EXPECT_EQ(feedDayText(7y / 2 / 9), "0007-02-09");
  for (const char* text : {"", "2023-02-29", "2024-2-01", "2024-02-1 ", "24-02-01", "2024/02/01", "0000-01-01",
                           "2024-+1-01", "2024--1-01", "-024-01-01", "2024-01-01x"}) {
    EXPECT_EQ(feedDay(text), std::nullopt) << text;
  }
}

TEST(FeedDayTest, IsThatOfTheTimeZone) {
  const QuillonDate date = std::chrono::sys_days(2024y / 6 / 10) + 11h;
  const auto dayIn = [date](const char* zone) {
    const ScopedTimeZone scope(zone);
    return feedDayAt(date, *makeSystemCalendar());
  };

  EXPECT_EQ(dayIn("UTC"), 2024y / 6 / 10);
  EXPECT_EQ(dayIn("Pacific/Kiritimati"), 2024y / 6 / 11);
  EXPECT_EQ(dayIn("Pacific/Pago_Pago"), 2024y / 6 / 10);
  EXPECT_EQ(dayIn("Etc/GMT+12"), 2024y / 6 / 9);
}

TEST(FeedDayTest, BeginsAtTheFirstMomentOfTheDay) {
  const ScopedTimeZone zone("Africa/Cairo");  // the clock went from 23:59 to 01:00
  const auto calendar = makeSystemCalendar();
  const QuillonDate start = calendar->startOfDay(2024y / 4 / 26).value();

  EXPECT_EQ(feedDayAt(start, *calendar), 2024y / 4 / 26);
  EXPECT_EQ(feedDayAt(start - 1us, *calendar), 2024y / 4 / 25);
}

TEST(FeedDayTest, TheLastMomentBeforeADayThatTheZoneLeavesOutIsOfTheDayBefore) {
  const ScopedTimeZone zone("Pacific/Apia");
  const auto calendar = makeSystemCalendar();
  const QuillonDate start = calendar->startOfDay(2011y / 12 / 31).value();

  EXPECT_EQ(feedDayAt(start, *calendar), 2011y / 12 / 31);
  EXPECT_EQ(feedDayAt(start - 1us, *calendar), 2011y / 12 / 29);
}

}  // namespace
}  // namespace quillon
