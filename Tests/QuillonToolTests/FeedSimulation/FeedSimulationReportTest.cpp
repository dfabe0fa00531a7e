#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonToolTests/FeedSimulation/SimulationMaking.h"

namespace quillon {
namespace {

using testing::EndedSimulation;
using ::testing::HasSubstr;
using testing::updateEntry;

TEST(FeedSimulationReportTest, ADayHasTheSumsOfItsHours) {
  const EndedSimulation ended({updateEntry()}, 640, 10);

  EXPECT_EQ(ended.report().day(0),
            (FeedSimulationReport::Day{
                .checks = 640, .downloads = 240, .bytes = 2400, .mostDownloadsInAnHour = 10, .updated = 240}));
  EXPECT_EQ(ended.report().day(1),
            (FeedSimulationReport::Day{
                .checks = 640, .downloads = 240, .bytes = 2400, .mostDownloadsInAnHour = 10, .updated = 480}));
  EXPECT_EQ(ended.report().offers(0, 1), 240);
  EXPECT_EQ(ended.report().offers(0, 2), 0);
}

TEST(FeedSimulationReportTest, AnEntryIsNamedByVersionElseIdentifierElseNumber) {
  const EndedSimulation ended(
      {entryOf({{"current", "2.0"}, {"currentbuild", "3"}, {"id", "x"}}), entryOf({{"id", "x"}}), entryOf({})}, 1);

  EXPECT_EQ(ended.report().entryLabel(0), "2.0/3");
  EXPECT_EQ(ended.report().entryLabel(1), "x");
  EXPECT_EQ(ended.report().entryLabel(2), "entry 3");
  EXPECT_EQ(ended.report().offers(2, 0), 0);
}

TEST(FeedSimulationReportTest, ALongNameIsCutBetweenCharacters) {
  std::string longest;
  for (int i = 0; i < 40; ++i) longest += "\u00E9";
  const EndedSimulation ended({entryOf({{"current", longest}}), entryOf({{"current", longest + "!"}})}, 1);

  EXPECT_EQ(ended.report().entryLabel(0), longest);
  EXPECT_EQ(ended.report().entryLabel(1), longest.substr(0, 78) + "\u2026");
}

TEST(FeedSimulationReportTest, BytesAreKnownWhenEveryOfferedEntryHasASize) {
  EXPECT_TRUE(EndedSimulation({updateEntry()}, 4, 10).report().knowsBytes());
  EXPECT_FALSE(EndedSimulation({updateEntry()}, 4).report().knowsBytes());
  EXPECT_TRUE(EndedSimulation({entryOf({})}, 4).report().knowsBytes());
}

TEST(FeedSimulationReportTest, SaysWhatIsLeftOut) {
  EXPECT_THAT(FeedSimulationReport::limits(), HasSubstr("Not modelled: downloads and installations that fail"));
}

}  // namespace
}  // namespace quillon
