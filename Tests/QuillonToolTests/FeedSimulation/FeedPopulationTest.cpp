#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedSimulation/FeedPopulation.h"
#include "QuillonTool/QuillonToolUsageError.h"
#include "QuillonToolTests/FeedSimulation/SimulationMaking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::smallPopulation;
using Version = FeedPopulation::Version;

std::string refusalOf(const FeedPopulation& population) {
  try {
    population.validate();
  } catch (const QuillonToolUsageError& error) {
    return error.description();
  }
  return "none";
}

template <typename Value>
std::vector<Value> valuesOf(const FeedPopulation::Shares<Value>& shares) {
  std::vector<Value> values;
  for (const auto& share : shares) values.push_back(share.value);
  return values;
}

TEST(FeedPopulationTest, TakesItsValuesFromTheFeed) {
  const VeskUpdateFeed feed = feedOf({entryOf({{"type", "update"},
                                               {"current", "3.0"},
                                               {"currentbuild", "120"},
                                               {"version", "2.0-2.9"},
                                               {"os", "13.0"},
                                               {"lang", "de"},
                                               {"sku", "mas"}}),
                                      entryOf({{"type", "news"}, {"lang", "fr"}, {"current", "9"}}),
                                      entryOf({{"type", "update"}, {"current", "2.0"}, {"os", "-12.5"}})});

  const FeedPopulation population = FeedPopulation::suitedTo(feed);

  EXPECT_THAT(valuesOf(population.versions), ElementsAre(Version{.version = "3.0", .build = 120},
                                                         Version{.version = "2.0"}, Version{.version = "2.9"}));
  EXPECT_THAT(valuesOf(population.osVersions), ElementsAre("13.0", "12.5"));
  EXPECT_THAT(valuesOf(population.languages), ElementsAre("en", "de"));
  EXPECT_THAT(valuesOf(population.skus), ElementsAre("", "mas"));
  EXPECT_EQ(refusalOf(population), "none");
}

TEST(FeedPopulationTest, AFeedThatSpeaksOfNothingStillHasAPopulation) {
  EXPECT_EQ(refusalOf(FeedPopulation::suitedTo(feedOf({entryOf({})}))), "none");
}

TEST(FeedPopulationTest, AFeedWithALongHistoryHasAValidPopulation) {
  QuillonPropertyListValue::Array entries;
  for (int i = 0; i < 500; ++i) {
    const std::string number = std::to_string(i);
    entries.emplace_back(
        entryOf({{"type", "update"}, {"current", number}, {"os", number}, {"lang", number}, {"sku", number}}));
  }
  const VeskUpdateFeed feed(
      QuillonPropertyListDocument(writeBinaryPropertyList(QuillonPropertyListValue(std::move(entries)))));

  EXPECT_EQ(refusalOf(FeedPopulation::suitedTo(feed)), "none");
}

TEST(FeedPopulationTest, AVersionIsWrittenWithItsBuildWhenThatIsKnown) {
  EXPECT_EQ((Version{.version = "2.0", .build = 7}).text(), "2.0/7");
  EXPECT_EQ((Version{.version = "2.0", .build = 0}).text(), "2.0");
}

TEST(FeedPopulationTest, RefusesWeightsThatMakeNoShares) {
  FeedPopulation population = smallPopulation();
  population.languages.clear();
  EXPECT_THAT(refusalOf(population), HasSubstr("languages need a value with a weight above 0"));

  population.languages = {{.value = "en", .weight = -1}, {.value = "de", .weight = 2}};
  EXPECT_THAT(refusalOf(population), HasSubstr("weights from 0 on"));

  population.languages = {{.value = "en", .weight = 1'000'000}, {.value = "de", .weight = 1}};
  EXPECT_THAT(refusalOf(population), HasSubstr("at most 1000000"));

  population.languages = {{.value = "en", .weight = 0}};
  EXPECT_THAT(refusalOf(population), HasSubstr("above 0"));
}

TEST(FeedPopulationTest, RefusesNumbersOutOfRange) {
  FeedPopulation population = smallPopulation();
  population.checkHours = {{.value = 0}};
  EXPECT_THAT(refusalOf(population), HasSubstr("checkHours must be whole numbers from 1 to 744"));

  population = smallPopulation();
  population.staggerGroups = {{.value = -1}};
  EXPECT_THAT(refusalOf(population), HasSubstr("staggerGroups must be"));

  population = smallPopulation();
  population.betaPercent = 101;
  EXPECT_THAT(refusalOf(population), HasSubstr("betaPercent"));
}

TEST(FeedPopulationTest, RefusesMoreCombinationsThanItCanSimulate) {
  FeedPopulation population = smallPopulation();
  population.osVersions.assign(1000, {.value = "14.0"});
  population.languages.assign(1000, {.value = "en"});
  EXPECT_THAT(refusalOf(population), HasSubstr("combinations"));

  population.languages.assign(1001, {.value = "en"});
  EXPECT_THAT(refusalOf(population), HasSubstr("more than 1000 values"));
}

}  // namespace
}  // namespace quillon
