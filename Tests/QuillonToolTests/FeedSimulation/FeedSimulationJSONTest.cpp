#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedSimulation/FeedSimulationJSON.h"
#include "QuillonToolTests/FeedSimulation/SimulationMaking.h"

namespace quillon {
namespace {

using testing::EndedSimulation;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using testing::updateEntry;

TEST(FeedSimulationJSONTest, HasInstallsAndSeedAndWhatIsLeftOut) {
  EXPECT_THAT(feedSimulationJSON(EndedSimulation({updateEntry()}, 640, 10).report()),
              StartsWith(R"({"installs":640,"seed":1,"limits":"Not modelled: )"));
}

TEST(FeedSimulationJSONTest, HasTheOffersOfEachEntry) {
  EXPECT_THAT(
      feedSimulationJSON(EndedSimulation({updateEntry()}, 640, 10).report()),
      HasSubstr(R"("entries":[{"index":0,"label":"2.0","title":"","offers":480,"archiveSize":10,)"
                R"("versions":[{"value":"1.0","installs":480}],"osVersions":[{"value":"14.0","installs":480}],)"
                R"("languages":[{"value":"en","installs":480}],"skus":[{"value":"","installs":480}],)"
                R"("staggerGroups":[{"value":"0","installs":240},{"value":"1","installs":240}],"betaTesters":0}])"));
}

TEST(FeedSimulationJSONTest, HasTheFiguresOfEachDayAndHour) {
  const std::string json = feedSimulationJSON(EndedSimulation({updateEntry()}, 640, 10).report());

  EXPECT_THAT(json, HasSubstr(R"({"day":1,"date":"2024-06-11","checks":640,"downloads":240,)"
                              R"("mostDownloadsInAnHour":10,"bytes":2400,"updated":480,)"
                              R"("offers":[{"entry":0,"installs":240}],)"
                              R"("installed":[{"version":"2.0","updatedByEntry":null,"installs":160},)"
                              R"({"version":"2.0","updatedByEntry":0,"installs":480}]})"));
  EXPECT_THAT(json, HasSubstr(R"({"day":2,"hour":23,"checks":)"));
}

TEST(FeedSimulationJSONTest, UnknownBytesAreNull) {
  const std::string json = feedSimulationJSON(EndedSimulation({updateEntry()}, 640).report());

  EXPECT_THAT(json, HasSubstr(R"("archiveSize":null)"));
  EXPECT_THAT(json, HasSubstr(R"("mostDownloadsInAnHour":10,"bytes":null)"));
}

TEST(FeedSimulationJSONTest, TextsOfTheFeedAreEscaped) {
  FeedDictionary entry = updateEntry();
  entry.emplace("title", QuillonPropertyListValue(std::string_view("\"\n")));

  EXPECT_THAT(feedSimulationJSON(EndedSimulation({entry}, 8).report()), HasSubstr(R"("title":"\"\u000a")"));
}

}  // namespace
}  // namespace quillon
