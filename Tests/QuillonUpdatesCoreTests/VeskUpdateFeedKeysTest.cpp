#include <gtest/gtest.h>

#include <chrono>

#include "QuillonCore/Runtime/QuillonSystemCalendar.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

TEST(VeskUpdateFeedKeysTest, TheIdentifierOfAnEntryWithoutOneIsItsVersionRange) {
  EXPECT_EQ(VeskUpdateFeedKeys::feedVersionID, VeskUpdateFeedKeys::version);
}

TEST(VeskUpdateFeedKeysTest, TheFormatterReadsDaysOfItsCalendar) {
  const auto calendar = makeSystemCalendar();
  const auto day = std::chrono::year(2024) / 2 / 29;

  EXPECT_EQ(VeskUpdateFeedKeys::releaseDateFormatter(*calendar).date("2024-02-29"), calendar->startOfDay(day));
}

}  // namespace
}  // namespace quillon
