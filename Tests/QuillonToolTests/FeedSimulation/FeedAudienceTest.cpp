#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <tuple>

#include "QuillonTool/FeedSimulation/FeedAudience.h"
#include "QuillonToolTests/FeedSimulation/SimulationMaking.h"

namespace quillon {
namespace {

using testing::smallPopulation;

FeedPopulation mixedPopulation() {
  FeedPopulation population = smallPopulation();
  population.osVersions = {{.value = "13.0"}, {.value = "14.0", .weight = 3}};
  population.languages = {{.value = "en", .weight = 0}, {.value = "de"}};
  population.checkHours = {{.value = 24}, {.value = 6}};
  population.betaPercent = 50;
  return population;
}

TEST(FeedAudienceTest, EveryInstallIsInOneAudienceAndInOneCohort) {
  const FeedPopulation population = mixedPopulation();
  for (const std::int64_t installs :
       {std::int64_t{1}, std::int64_t{7}, std::int64_t{1000}, std::int64_t{999'999'999'937}}) {
    std::set<std::tuple<std::size_t, std::size_t, std::size_t, std::size_t, bool>> seen;
    std::int64_t inAudiences = 0;
    std::int64_t inCohorts = 0;
    for (const FeedAudience& audience : feedAudiences(population, installs, 5)) {
      ASSERT_GT(audience.installs, 0);
      ASSERT_EQ(audience.language, 1U) << "the other one has no weight";
      ASSERT_TRUE(
          seen.emplace(audience.osVersion, audience.language, audience.sku, audience.staggerGroup, audience.wantsBetas)
              .second);
      inAudiences += audience.installs;
      for (const FeedCohort& cohort : feedCohorts(population, audience)) {
        ASSERT_GT(cohort.installs, 0);
        ASSERT_LT(cohort.firstCheck, population.checkHours[cohort.checkHours].value);
        inCohorts += cohort.installs;
      }
    }
    EXPECT_EQ(inAudiences, installs);
    EXPECT_EQ(inCohorts, installs);
  }
}

TEST(FeedAudienceTest, ChecksAreSpreadOverTheHours) {
  FeedAudience audience;
  audience.installs = 4800;
  FeedPopulation population = smallPopulation();
  population.versions.resize(1);

  const std::vector<FeedCohort> cohorts = feedCohorts(population, audience);

  ASSERT_EQ(cohorts.size(), 24U);
  for (const FeedCohort& cohort : cohorts) EXPECT_EQ(cohort.installs, 200);
}

TEST(FeedAudienceTest, OtherSeedsDrawOtherInstalls) {
  const FeedPopulation population = mixedPopulation();
  const auto cohortsOf = [&population](std::uint64_t seed) {
    std::vector<FeedCohort> cohorts;
    for (const FeedAudience& audience : feedAudiences(population, 20, seed)) {
      for (const FeedCohort& cohort : feedCohorts(population, audience)) cohorts.push_back(cohort);
    }
    return cohorts;
  };

  EXPECT_EQ(cohortsOf(1), cohortsOf(1));
  EXPECT_NE(cohortsOf(1), cohortsOf(2));
}

}  // namespace
}  // namespace quillon
