#include <gtest/gtest.h>

#include <chrono>

#include "QuillonTool/FeedExplain/FeedDateText.h"
#include "QuillonTool/FeedLint/UniversalTimeCalendar.h"

namespace quillon {
namespace {

using std::chrono::hours;

constexpr QuillonDate kDay = std::chrono::sys_days(std::chrono::year(2024) / 6 / 10);

std::optional<QuillonDate> read(std::string_view text) {
  return feedDate(text, UniversalTimeCalendar());
}

TEST(FeedDateTextTest, ReadsDaysAndTimes) {
  EXPECT_EQ(read("2024-06-10"), kDay);
  EXPECT_EQ(read("2024-06-10T12:00:00Z"), kDay + hours(12));
  EXPECT_EQ(read("2024-06-10T14:00:00+02:00"), kDay + hours(12));
  EXPECT_EQ(read("2024-06-10T06:30:00-05:30"), kDay + hours(12));
}

TEST(FeedDateTextTest, ReadsNothingElse) {
  for (const std::string_view text :
       {"", "Z", "now", "2024-02-30", "2024-06-10T12:00:00", "2024-06-10T25:00:00Z", " 2024-06-10T12:00:00Z",
        "2024-06-10T12:00:00+24:00", "2024-06-10T12:00:00+02:60", "2024-06-10T12:00:00+-2:00",
        "2024-06-10T12:00:00 02:00", "2024-02-30T12:00:00+02:00"}) {
    EXPECT_EQ(read(text), std::nullopt) << text;
  }
}

TEST(FeedDateTextTest, WritesEveryDate) {
  EXPECT_EQ(feedDateText(kDay), "2024-06-10T00:00:00Z");
  EXPECT_EQ(feedDateText(kDistantPast), "0001-01-01T00:00:00Z");
  EXPECT_EQ(feedDateText(QuillonDate::max()), "9999-12-31T23:59:59Z");
  EXPECT_EQ(feedDateText(QuillonDate::min()), "0000-01-01T00:00:00Z");
}

}  // namespace
}  // namespace quillon
