#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "QuillonTool/FeedSimulation/FeedSimulationTable.h"
#include "QuillonToolTests/FeedSimulation/SimulationMaking.h"

namespace quillon {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using testing::EndedSimulation;
using ::testing::HasSubstr;
using testing::updateEntry;

TEST(FeedSimulationTableTest, HasALineForEachDayAndTheOffersOfEachEntry) {
  const EndedSimulation ended({updateEntry()}, 640, 10);

  EXPECT_THAT(feedSimulationTable(ended.report(), false),
              ElementsAre("640 installs, 3 days from 2024-06-10, seed 1", "",
                          "Day        Date  Checks  Downloads  Most per hour  Bytes  Updated %  Offers",
                          "  0  2024-06-10     640        240             10   2400       37.5  2.0: 240",
                          "  1  2024-06-11     640        240             10   2400       75.0  2.0: 240",
                          "  2  2024-06-12     640          0              0      0       75.0  none", "",
                          "Entry 1, 2.0: offered to 480 installs, 75.0 %", "    versions: 1.0 (480)",
                          "    systems: 14.0 (480)", "    languages: en (480)", "    distributions: none (480)",
                          "    groups: 0 (240), 1 (240)", "    betas wanted: 0", "", FeedSimulationReport::limits()));
}

TEST(FeedSimulationTableTest, HasTheHoursWithDownloadsWhenAskedFor) {
  const std::vector<std::string> lines = feedSimulationTable(EndedSimulation({updateEntry()}, 640).report(), true);

  EXPECT_THAT(lines, Contains("Day  Hour  Checks  Downloads  Bytes"));
  EXPECT_EQ(std::ranges::count_if(lines, [](const std::string& line) { return line.ends_with("10  unknown"); }), 48);
}

TEST(FeedSimulationTableTest, SaysSoWhenNothingIsOffered) {
  EXPECT_THAT(feedSimulationTable(EndedSimulation({entryOf({})}, 5).report(), false),
              Contains("No install is offered anything."));
}

TEST(FeedSimulationTableTest, BytesOfUnknownArchivesAreUnknown) {
  EXPECT_THAT(feedSimulationTable(EndedSimulation({updateEntry()}, 5).report(), false),
              Contains(HasSubstr("unknown")).Times(3));
}

}  // namespace
}  // namespace quillon
