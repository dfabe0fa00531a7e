#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedSimulation/FeedAudienceSimulation.h"
#include "QuillonToolTests/FeedSimulation/SimulationMaking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using testing::makeModel;
using testing::smallPopulation;
using testing::updateEntry;

FeedSimulationResult simulate(const FeedSimulationModel& model, std::size_t staggerGroup, std::int64_t installs) {
  FeedAudience audience;
  audience.staggerGroup = staggerGroup;
  audience.installs = installs;
  FeedAudienceSimulation simulation(model);
  simulation.simulate(audience);
  return simulation.result();
}

TEST(FeedAudienceSimulationTest, AnInstallIsUpdatedAtItsFirstCheckAndThenNoMore) {
  const VeskUpdateFeed feed = feedOf({updateEntry()});
  const FeedSimulationModel model = makeModel(feed, smallPopulation(), 3, 10);

  const FeedSimulationResult result = simulate(model, 0, 320);

  EXPECT_THAT(result.offersByEntry.at(0).byDay, ElementsAre(240, 0, 0));
  EXPECT_THAT(result.offersByEntry.at(0).byState, ElementsAre(::testing::Pair(0U, 240)));
  EXPECT_THAT(result.installsByState.at(0), ElementsAre(0, 0, 0));
  EXPECT_THAT(result.installsByState.at(1), ElementsAre(80, 80, 80));
  EXPECT_THAT(result.installsByState.at(2), ElementsAre(240, 240, 240));
  EXPECT_EQ(result.hours[5].downloads, 10);
  EXPECT_EQ(result.hours[5].bytes, 100);
  EXPECT_EQ(result.hours[24 + 5].downloads, 0);
}

TEST(FeedAudienceSimulationTest, AGroupWaitsItsDays) {
  const VeskUpdateFeed feed = feedOf({updateEntry()});
  const FeedSimulationModel model = makeModel(feed, smallPopulation());

  EXPECT_THAT(simulate(model, 1, 320).offersByEntry.at(0).byDay, ElementsAre(0, 240, 0));
}

TEST(FeedAudienceSimulationTest, OneUpdateLeadsToTheNextAtTheNextCheck) {
  const VeskUpdateFeed feed =
      feedOf({updateEntry(), entryOf({{"type", "update"}, {"version", "2.0"}, {"current", "3.0"}})});
  const FeedSimulationModel model = makeModel(feed, smallPopulation());

  const FeedSimulationResult result = simulate(model, 0, 320);

  EXPECT_THAT(result.offersByEntry.at(0).byDay, ElementsAre(240, 0, 0));
  EXPECT_THAT(result.offersByEntry.at(1).byDay, ElementsAre(80, 240, 0));
}

TEST(FeedAudienceSimulationTest, AnEntryWithoutVersionIsTakenOnce) {
  const VeskUpdateFeed feed = feedOf({entryOf({{"type", "update"}, {"id", "x"}})});
  const FeedSimulationModel model = makeModel(feed, smallPopulation());

  EXPECT_THAT(simulate(model, 0, 320).offersByEntry.at(0).byDay, ElementsAre(320, 0, 0));
}

TEST(FeedAudienceSimulationTest, ASecondAudienceStartsAfresh) {
  const VeskUpdateFeed feed = feedOf({updateEntry()});
  const FeedSimulationModel model = makeModel(feed, smallPopulation());
  FeedAudience first;
  first.installs = 320;
  FeedAudience second = first;
  second.staggerGroup = 1;

  FeedAudienceSimulation both(model);
  both.simulate(first);
  both.simulate(second);

  FeedSimulationResult expected = simulate(model, 0, 320);
  expected.add(simulate(model, 1, 320));
  EXPECT_EQ(both.result(), expected);
}

}  // namespace
}  // namespace quillon
