#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonToolTests/FeedLint/FeedChecking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Value = QuillonPropertyListValue;

TEST(IntervalCheckTest, SecondsAreFineAsStringOrNumber) {
  EXPECT_THAT(findingsOf(checkInterval, {{"interval", "3600"}}), IsEmpty());
  EXPECT_THAT(findingsOf(checkInterval, with({}, "interval", Value(3600))), IsEmpty());
  EXPECT_THAT(findingsOf(checkInterval, with({}, "interval", Value(3600.5))), IsEmpty());
  EXPECT_THAT(findingsOf(checkInterval, {{"id", "1"}}), IsEmpty());
}

TEST(IntervalCheckTest, WhatIsNoNumberIsAnError) {
  EXPECT_THAT(findingsOf(checkInterval, {{"interval", "1h"}}),
              ElementsAre("error interval: The interval \"1h\" is no whole number of 64 bits."));
  EXPECT_THAT(findingsOf(checkInterval, {{"interval", "99999999999999999999"}}),
              ElementsAre("error interval: The interval \"99999999999999999999\" is no whole number of 64 bits."));
}

TEST(IntervalCheckTest, NothingAboveZeroIsAWarning) {
  const auto notPositive = ElementsAre("warning interval: The interval is not above 0.");
  EXPECT_THAT(findingsOf(checkInterval, {{"interval", "-1"}}), notPositive);
  EXPECT_THAT(findingsOf(checkInterval, with({}, "interval", Value(0))), notPositive);
  EXPECT_THAT(findingsOf(checkInterval, with({}, "interval", Value(0.5))), notPositive);
}

}  // namespace
}  // namespace quillon
