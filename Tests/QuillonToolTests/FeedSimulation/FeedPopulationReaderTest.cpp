#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "QuillonTool/FeedSimulation/FeedPopulationReader.h"
#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;

using Version = FeedPopulation::Version;

template <typename Read>
std::string refusalOf(Read read) {
  FeedPopulation population;
  try {
    read(FeedPopulationReader{population});
  } catch (const QuillonToolUsageError& error) {
    return error.description();
  }
  return "none";
}

std::string refusalOfProperty(std::string_view name, std::string_view text) {
  return refusalOf([&](const FeedPopulationReader& reader) { reader.readProperty(name, text); });
}

std::string refusalOfList(std::string_view text) {
  return refusalOf([&](const FeedPopulationReader& reader) { reader.readPropertyList(text); });
}

TEST(FeedPopulationReaderTest, ReadsListsWithWeights) {
  FeedPopulation population;
  const FeedPopulationReader reader{population};

  reader.readProperty("versions", "2.0/200=3,1.9");
  reader.readProperty("osVersions", "14.0");
  reader.readProperty("languages", "de=2,en");
  reader.readProperty("skus", ",mas=5");
  reader.readProperty("staggerGroups", "0,7=2");
  reader.readProperty("checkHours", "24");
  reader.readProperty("betaPercent", "12");

  FeedPopulation expected;
  expected.versions = {{.value = {.version = "2.0", .build = 200}, .weight = 3}, {.value = {.version = "1.9"}}};
  expected.osVersions = {{.value = "14.0"}};
  expected.languages = {{.value = "de", .weight = 2}, {.value = "en"}};
  expected.skus = {{.value = ""}, {.value = "mas", .weight = 5}};
  expected.staggerGroups = {{.value = 0}, {.value = 7, .weight = 2}};
  expected.checkHours = {{.value = 24}};
  expected.betaPercent = 12;
  EXPECT_EQ(population, expected);
}

TEST(FeedPopulationReaderTest, AnEmptyListIsOneEmptyWord) {
  FeedPopulation population;

  FeedPopulationReader{population}.readProperty("skus", "");

  EXPECT_EQ(population.skus, (FeedPopulation::Shares<std::string>{{.value = ""}}));
}

TEST(FeedPopulationReaderTest, ReadsAPropertyList) {
  FeedPopulation population;

  FeedPopulationReader{population}.readPropertyList(R"(<plist><dict>
    <key>versions</key><dict><key>1.0</key><integer>2</integer><key>2.0/5</key><integer>1</integer></dict>
    <key>staggerGroups</key><dict><key>3</key><integer>1</integer></dict>
    <key>betaPercent</key><integer>9</integer></dict></plist>)");

  EXPECT_EQ(population.versions,
            (FeedPopulation::Shares<Version>{{.value = {.version = "1.0"}, .weight = 2},
                                             {.value = {.version = "2.0", .build = 5}, .weight = 1}}));
  EXPECT_EQ(population.staggerGroups, (FeedPopulation::Shares<std::int64_t>{{.value = 3}}));
  EXPECT_EQ(population.betaPercent, 9);
}

TEST(FeedPopulationReaderTest, SaysWhatIsNoNumber) {
  EXPECT_THAT(refusalOfProperty("checkHours", "daily"), HasSubstr("\"daily\" has no place among checkHours"));
  EXPECT_THAT(refusalOfProperty("languages", "de=much"), HasSubstr("\"much\" has no place among languages"));
  EXPECT_THAT(refusalOfProperty("versions", "2.0/b"), HasSubstr("\"b\" has no place among versions"));
  EXPECT_THAT(refusalOfProperty("betaPercent", "5%"), HasSubstr("betaPercent"));
}

TEST(FeedPopulationReaderTest, SaysWhatIsNoPopulation) {
  EXPECT_THAT(refusalOfList("<plist><dict>"), HasSubstr("no property list"));
  EXPECT_THAT(refusalOfList("<plist><array/></plist>"), HasSubstr("no dictionary"));
  EXPECT_THAT(refusalOfList("<plist><dict><key>colours</key><dict/></dict></plist>"),
              HasSubstr("A population has no \"colours\""));
  EXPECT_THAT(refusalOfList("<plist><dict><key>skus</key><array/></dict></plist>"),
              HasSubstr("skus are no dictionary"));
  EXPECT_THAT(refusalOfList("<plist><dict><key>skus</key><dict><key>mas</key><string>1</string></dict></dict></plist>"),
              HasSubstr("an integer as its weight"));
  EXPECT_THAT(refusalOfList("<plist><dict><key>betaPercent</key><string>5</string></dict></plist>"),
              HasSubstr("betaPercent is no integer"));
}

}  // namespace
}  // namespace quillon
