#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedSimulation/PlotScale.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;

TEST(PlotScaleTest, StepsAreOneTwoOrFiveTimesAPowerOfTen) {
  EXPECT_THAT(PlotScale(10, 5).values(), ElementsAre(0, 2, 4, 6, 8, 10));
  EXPECT_THAT(PlotScale(11, 5).values(), ElementsAre(0, 5, 10, 15));
  EXPECT_THAT(PlotScale(4'100'000, 5).values(), ElementsAre(0, 1e6, 2e6, 3e6, 4e6, 5e6));
}

TEST(PlotScaleTest, NothingAtAllStillHasAScale) {
  EXPECT_THAT(PlotScale(0, 5).values(), ElementsAre(0, 1));
  EXPECT_EQ(PlotScale(0, 5).end(), 1);
}

TEST(PlotScaleTest, TheLargestNumberOfBytesHasAScale) {
  EXPECT_GE(PlotScale(9.3e18, 5).end(), 9.3e18);
}

TEST(PlotScaleTest, ThousandsHaveAPrefix) {
  EXPECT_EQ(scaledNumber(0), "0");
  EXPECT_EQ(scaledNumber(999), "999");
  EXPECT_EQ(scaledNumber(1500), "1.5 k");
  EXPECT_EQ(scaledNumber(20'000'000), "20 M");
  EXPECT_EQ(scaledNumber(1e19), "10 E");
}

}  // namespace
}  // namespace quillon
