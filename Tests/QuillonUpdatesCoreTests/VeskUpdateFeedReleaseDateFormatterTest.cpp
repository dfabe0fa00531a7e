#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string_view>

#include "QuillonCore/Runtime/QuillonSystemCalendar.h"
#include "QuillonUpdatesCore/VeskUpdateFeedReleaseDateFormatter.h"
#include "Support/ScopedTimeZone.h"

namespace quillon {
namespace {

std::optional<QuillonDate> dateOf(std::string_view text) {
  return VeskUpdateFeedReleaseDateFormatter(*makeSystemCalendar()).date(text);
}

TEST(VeskUpdateFeedReleaseDateFormatterTest, ADayIsOneOfTheTimeZone) {
  const ScopedTimeZone zone("Europe/Vienna");

  EXPECT_EQ(dateOf("2024-07-01"), std::chrono::sys_days(std::chrono::year(2024) / 6 / 30) + std::chrono::hours(22));
}

TEST(VeskUpdateFeedReleaseDateFormatterTest, ADayThatStartsAtOneHasItsFirstMoment) {
  const ScopedTimeZone zone("Asia/Beirut");

  EXPECT_EQ(dateOf("2024-03-31"), std::chrono::sys_days(std::chrono::year(2024) / 3 / 30) + std::chrono::hours(22));
}

TEST(VeskUpdateFeedReleaseDateFormatterTest, LeapDaysExistInLeapYearsOnly) {
  EXPECT_TRUE(dateOf("2024-02-29"));
  EXPECT_TRUE(dateOf("2000-02-29"));
  EXPECT_FALSE(dateOf("2023-02-29"));
  EXPECT_FALSE(dateOf("1900-02-29"));
}

TEST(VeskUpdateFeedReleaseDateFormatterTest, TheFirstAndTheLastYearAreRead) {
  const ScopedTimeZone zone("UTC");

  EXPECT_EQ(dateOf("0001-01-01"), kDistantPast);
  EXPECT_EQ(dateOf("9999-12-31"), std::chrono::sys_days(std::chrono::year(9999) / 12 / 31));
}

TEST(VeskUpdateFeedReleaseDateFormatterTest, WhatIsNoDayIsAbsent) {
  using namespace std::string_view_literals;
  for (const std::string_view text : {""sv,
                                      "2024-02-30"sv,
                                      "2024-04-31"sv,
                                      "2024-13-01"sv,
                                      "2024-00-10"sv,
                                      "2024-01-00"sv,
                                      "0000-01-01"sv,
                                      "2024-1-5"sv,
                                      "24-01-05"sv,
                                      "2024/01/05"sv,
                                      "2024-01-05 "sv,
                                      " 2024-01-05"sv,
                                      "2024-01-05T00:00"sv,
                                      "20240105"sv,
                                      "12024-01-05"sv,
                                      "-024-01-05"sv,
                                      "+024-01-05"sv,
                                      "2024-01--5"sv,
                                      "2024-01-0\0"sv,
                                      "\u0662\u0660\u0662\u0664-01-05"sv,
                                      "05.01.2024"sv,
                                      "yesterday"sv}) {
    EXPECT_EQ(dateOf(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace quillon
