#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedSimulation/FeedSimulationPlot.h"
#include "QuillonToolTests/FeedSimulation/SimulationMaking.h"

namespace quillon {
namespace {

using testing::EndedSimulation;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using testing::updateEntry;

std::size_t countOf(std::string_view part, std::string_view text) {
  std::size_t count = 0;
  for (std::size_t i = text.find(part); i != std::string_view::npos; i = text.find(part, i + 1)) ++count;
  return count;
}

TEST(FeedSimulationPlotTest, HasTitleAxesUnitsAndLegend) {
  const std::string svg = feedSimulationPlot(EndedSimulation({updateEntry()}, 640, 10).report(), "Roll-out");

  EXPECT_THAT(svg, StartsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\""));
  EXPECT_THAT(svg, HasSubstr("<title>Roll-out</title>"));
  EXPECT_THAT(svg, HasSubstr(">640 installs, seed 1</text>"));
  for (const char* text :
       {"installs per hour", "bytes per hour", "% of installs", "days from 2024-06-10", "all entries", "2.0"}) {
    EXPECT_THAT(svg, HasSubstr(">" + std::string(text) + "</text>"));
  }
  EXPECT_EQ(countOf("<polyline", svg), 3U);
}

TEST(FeedSimulationPlotTest, FollowsTheLightOrDarkSetting) {
  EXPECT_THAT(feedSimulationPlot(EndedSimulation({updateEntry()}, 640).report(), "x"),
              HasSubstr("@media (prefers-color-scheme: dark)"));
}

TEST(FeedSimulationPlotTest, DrawsNoBytesThatNobodyKnows) {
  EXPECT_THAT(feedSimulationPlot(EndedSimulation({updateEntry()}, 640).report(), "x"),
              Not(HasSubstr("bytes per hour")));
}

TEST(FeedSimulationPlotTest, TextsOfTheFeedAreEscaped) {
  const EndedSimulation ended({entryOf({{"type", "update"}, {"id", "<script>alert(1)</script>"}})}, 4);

  const std::string svg = feedSimulationPlot(ended.report(), "<&>");

  EXPECT_THAT(svg, HasSubstr("<title>&lt;&amp;&gt;</title>"));
  EXPECT_THAT(svg, HasSubstr("&lt;script&gt;alert(1)&lt;/script&gt;</text>"));
  EXPECT_THAT(svg, Not(HasSubstr("<script")));
}

TEST(FeedSimulationPlotTest, ManyEntriesShareALine) {
  std::vector<FeedDictionary> entries;
  FeedPopulation population = testing::smallPopulation();
  population.languages.clear();
  for (const char* language : {"a", "b", "c", "d", "e", "f", "g", "h", "i"}) {
    entries.push_back(entryOf({{"type", "update"}, {"id", language}, {"lang", language}}));
    population.languages.push_back({.value = language});
  }
  const EndedSimulation ended(
      {entries[0], entries[1], entries[2], entries[3], entries[4], entries[5], entries[6], entries[7], entries[8]}, 900,
      std::nullopt, population);

  const std::string svg = feedSimulationPlot(ended.report(), "x");

  EXPECT_EQ(countOf("<polyline", svg), 8U) << "downloads, six entries, and the others";
  EXPECT_THAT(svg, HasSubstr(">other entries</text>"));
}

TEST(FeedSimulationPlotTest, AFeedThatOffersNothingIsStillADrawing) {
  const std::string svg = feedSimulationPlot(EndedSimulation({entryOf({})}, 4).report(), "x");

  EXPECT_THAT(svg, HasSubstr("installs per hour"));
  EXPECT_THAT(svg, ::testing::EndsWith("</svg>\n"));
}

}  // namespace
}  // namespace quillon
