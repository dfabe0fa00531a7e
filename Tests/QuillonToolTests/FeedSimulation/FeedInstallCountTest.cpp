#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

#include "QuillonTool/FeedSimulation/FeedInstallCount.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;

std::int64_t sumOf(const std::vector<std::int64_t>& numbers) {
  return std::accumulate(numbers.begin(), numbers.end(), std::int64_t{0});
}

TEST(FeedInstallCountTest, SharesThatComeOutEvenAreExact) {
  EXPECT_THAT(dividedInstalls(100, {1, 0, 3, 6}, FeedSimulationSeed(7)), ElementsAre(10, 0, 30, 60));
}

TEST(FeedInstallCountTest, EveryInstallGoesSomewhereAndNoShareIsOffByMoreThanOne) {
  for (std::uint64_t seed = 0; seed < 200; ++seed) {
    for (const std::int64_t count : {1, 2, 3, 10, 101}) {
      const std::vector<std::int64_t> parts = dividedInstalls(count, {5, 1, 1}, FeedSimulationSeed(seed));

      ASSERT_EQ(sumOf(parts), count);
      ASSERT_LE(std::abs(parts[0] * 7 - count * 5), 7);
      ASSERT_LE(std::abs(parts[1] * 7 - count), 7);
    }
  }
}

TEST(FeedInstallCountTest, ASingleInstallGoesWhereTheWeightsSendMost) {
  std::int64_t first = 0;
  for (std::uint64_t seed = 0; seed < 1000; ++seed) first += dividedInstalls(1, {9, 1}, FeedSimulationSeed(seed))[0];

  EXPECT_GT(first, 850);
  EXPECT_LT(first, 950);
}

TEST(FeedInstallCountTest, TheMostInstallsWithTheLargestWeightsStayWithin64Bits) {
  const std::vector<std::int64_t> parts = dividedInstalls(kMostInstalls, {999'999, 1}, FeedSimulationSeed(1));

  EXPECT_THAT(parts, ElementsAre(999'999'000'000, 1'000'000));
}

TEST(FeedInstallCountTest, TheSameSeedDrawsTheSame) {
  EXPECT_EQ(FeedSimulationSeed(3).child(1), FeedSimulationSeed(3).child(1));
  EXPECT_NE(FeedSimulationSeed(3).child(1), FeedSimulationSeed(3).child(2));
  EXPECT_NE(FeedSimulationSeed(3).child(1), FeedSimulationSeed(4).child(1));
  EXPECT_EQ(FeedSimulationSeed(3).numberBelow(1000), FeedSimulationSeed(3).numberBelow(1000));
}

}  // namespace
}  // namespace quillon
