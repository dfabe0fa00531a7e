#include <gtest/gtest.h>

#include "QuillonToolTests/FeedSimulation/SimulationMaking.h"

namespace quillon {
namespace {

using testing::makeModel;
using testing::smallPopulation;

TEST(FeedSimulationModelTest, AnAudienceTellsTheEvaluatorWhatItHas) {
  FeedPopulation population = smallPopulation();
  population.skus = {{.value = ""}, {.value = "mas"}};
  population.languages = {{.value = "en"}, {.value = "de"}};
  const VeskUpdateFeed feed = feedOf({testing::updateEntry()});
  const FeedSimulationModel model = makeModel(feed, population);
  FeedAudience audience;
  audience.language = 1;
  audience.sku = 1;
  audience.staggerGroup = 1;
  audience.wantsBetas = true;

  VeskUpdateFeedApplicabilityContext expected;
  expected.currentOSVersion = "14.0";
  expected.preferredLanguageCode = "de";
  expected.acceptedSKUs = {"mas"};
  expected.canProcessUpdateFeeds = true;
  expected.checkForBetaReleasesEnabled = true;
  expected.shouldApplyUserStaggering = true;
  expected.userStaggerGroup = 1;
  EXPECT_EQ(model.contextOf(audience), expected);
}

TEST(FeedSimulationModelTest, NamesTheEntryThatTheEvaluatorOffers) {
  const VeskUpdateFeed feed =
      feedOf({entryOf({{"type", "news"}, {"id", "n"}, {"current", "9.0"}}),
              entryOf({{"type", "update"}, {"id", "b"}, {"lang", "de"}, {"current", "3.0"}}), testing::updateEntry()});
  const FeedSimulationModel model = makeModel(feed, smallPopulation());
  VeskUpdateFeedApplicabilityContext context = model.contextOf({});
  context.now = model.period().days()[0].noon;

  context.appVersion = "1.0";
  EXPECT_EQ(model.offeredEntry(context), 2U);
  context.appVersion = "2.0";
  EXPECT_EQ(model.offeredEntry(context), std::nullopt);
}

}  // namespace
}  // namespace quillon
