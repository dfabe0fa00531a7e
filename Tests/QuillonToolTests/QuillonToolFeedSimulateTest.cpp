#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/QuillonSystemCalendar.h"
#include "QuillonCore/Runtime/QuillonSystemClock.h"
#include "QuillonTool/FeedDay.h"
#include "QuillonTool/QuillonToolFeedSimulate.h"
#include "QuillonToolTests/ToolRun.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/ScopedTimeZone.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using testing::ToolResult;

/// What stands in `text` between the first `begin` after `mark` and the next `end`.
std::string between(const std::string& text, const std::string& mark, const std::string& begin,
                    const std::string& end) {
  const std::size_t start = text.find(begin, text.find(mark)) + begin.size();
  return text.substr(start, text.find(end, start) - start);
}

/// The day of this process's time zone.
std::string today() {
  return feedDayText(feedDayAt(QuillonSystemClock().now(), *makeSystemCalendar()));
}

class QuillonToolFeedSimulateTest : public ::testing::Test {
 protected:
  QuillonToolFeedSimulateTest() { writeFeed("<key>title</key><string>Sample</string>"); }

  void writeFeed(const std::string& more) const {
    testing::writeFile(feed_,
                       "<plist><array><dict><key>type</key><string>update</string><key>id</key><string>3</string>"
                       "<key>current</key><string>3.0</string><key>releasedate</key>"
                       "<string>2024-06-10</string>" +
                           more + "</dict></array></plist>");
  }
  [[nodiscard]] ToolResult simulate(const std::vector<std::string>& options) const {
    std::vector<std::string> words = {"feed", "simulate", feed_.string()};
    words.insert(words.end(), options.begin(), options.end());
    return testing::ToolRun()(words);
  }
  /// The one line of an error in the command line.
  [[nodiscard]] std::string refusal(const std::vector<std::string>& options) const {
    const ToolResult result = simulate(options);
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.output, IsEmpty());
    return result.error;
  }

  const testing::TemporaryDirectory folder_;
  const std::filesystem::path feed_ = folder_ / "feed.plist";
};

TEST_F(QuillonToolFeedSimulateTest, SimulatesFromTheLatestReleaseOn) {
  const ToolResult result = simulate({"--installs", "700", "--days", "2", "--versions", "2.0", "--check-hours", "24"});

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("700 installs, 2 days from 2024-06-10, seed 1\n"));
  EXPECT_THAT(result.output, HasSubstr("Entry 1, 3.0: offered to 200 installs, 28.5 %\n"));
  EXPECT_THAT(result.output, HasSubstr("    groups: 0 (100), 1 (100)\n"));
  EXPECT_THAT(result.output, HasSubstr("Not modelled: "));
  EXPECT_THAT(result.error, IsEmpty());
}

TEST_F(QuillonToolFeedSimulateTest, TheSameSeedGivesTheSameFigures) {
  const std::vector<std::string> options = {"--installs", "97", "--days", "4", "--versions", "2.0", "--hourly"};
  std::vector<std::string> otherSeed = options;
  otherSeed.insert(otherSeed.end(), {"--seed", "2"});

  EXPECT_EQ(simulate(options), simulate(options));
  EXPECT_NE(simulate(options).output, simulate(otherSeed).output);
}

TEST_F(QuillonToolFeedSimulateTest, EveryOptionOfThePopulationCounts) {
  writeFeed(
      "<key>lang</key><string>de</string><key>os</key><string>13</string><key>sku</key><string>mas</string>"
      "<key>version</key><string>2.0</string>");

  const ToolResult result = simulate(
      {"--installs",       "1000", "--days",        "1",           "--start",        "2024-07-01", "--versions",
       "2.0=1,1.0=1",      "--os", "14=1,12=1",     "--languages", "de,en",          "--skus",     "mas,",
       "--stagger-groups", "0",    "--check-hours", "1",           "--beta-percent", "0"});

  EXPECT_THAT(result.output, HasSubstr("1 day from 2024-07-01"));
  EXPECT_THAT(result.output, HasSubstr("    versions: 2.0 (6"));
  EXPECT_THAT(result.output, HasSubstr("    distributions: mas (6"));
  EXPECT_THAT(result.output, HasSubstr("    betas wanted: 0\n"));
}

TEST_F(QuillonToolFeedSimulateTest, ReadsAPopulationAndLetsOptionsWin) {
  const std::string population = (folder_ / "population.plist").string();
  testing::writeFile(population,
                     "<plist><dict><key>versions</key><dict><key>1.0</key><integer>1</integer></dict>"
                     "<key>staggerGroups</key><dict><key>5</key><integer>1</integer></dict></dict></plist>");

  EXPECT_THAT(simulate({"--population", population, "--days", "3"}).output,
              HasSubstr("No install is offered anything.\n"));
  EXPECT_THAT(simulate({"--population", population, "--days", "3", "--stagger-groups", "2"}).output,
              HasSubstr("    groups: 2 ("));
  EXPECT_THAT(refusal({"--population", feed_.string()}), HasSubstr("The population is no dictionary."));
}

TEST_F(QuillonToolFeedSimulateTest, CountsBytes) {
  EXPECT_THAT(simulate({"--installs", "7", "--days", "30", "--versions", "2.0", "--check-hours", "1", "--archive-size",
                        "1000", "--json"})
                  .output,
              HasSubstr(R"("archiveSize":1000)"));
  EXPECT_THAT(refusal({"--installs", "1000000000000", "--archive-size", "10000000"}),
              HasSubstr("more bytes than can be counted"));
}

TEST_F(QuillonToolFeedSimulateTest, DrawsAFile) {
  writeFeed("<key>currentbuild</key><string>7</string>");

  const ToolResult result = simulate({"--svg", (folder_ / "plot.svg").string(), "--days", "2"});

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(testing::readFile(folder_ / "plot.svg"), HasSubstr("<title>Roll-out of feed.plist</title>"));
}

TEST_F(QuillonToolFeedSimulateTest, AFileThatCannotBeWrittenIsAFailure) {
  const ToolResult result = simulate({"--svg", (folder_ / "none/plot.svg").string(), "--days", "2"});

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("Cannot write " + (folder_ / "none").string()));
}

TEST_F(QuillonToolFeedSimulateTest, ControlCharactersOfTheFeedDoNotReachTheTerminal) {
  testing::writeFile(feed_, "({type = update; id = x; current = \"9\\U001B[2J\";})");

  const ToolResult result = simulate({"--days", "1", "--versions", "1.0", "--beta-percent", "100"});

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("9\\x1b[2J"));
  EXPECT_THAT(result.output, Not(HasSubstr("\x1B")));
}

TEST_F(QuillonToolFeedSimulateTest, NumbersOutOfRangeAreRefused) {
  EXPECT_THAT(refusal({"--installs", "0"}),
              HasSubstr("Option --installs needs a whole number from 1 to 1000000000000, not \"0\"."));
  EXPECT_THAT(refusal({"--installs", "1000000000001"}), HasSubstr("--installs"));
  EXPECT_THAT(refusal({"--installs", "many"}), HasSubstr("--installs"));
  EXPECT_THAT(refusal({"--days", "0"}), HasSubstr("Option --days needs a whole number from 1 to 366"));
  EXPECT_THAT(refusal({"--days", "99999999999999999999"}), HasSubstr("--days"));
  EXPECT_THAT(refusal({"--seed", "-1"}), HasSubstr("--seed"));
  EXPECT_THAT(refusal({"--archive-size", "-1"}), HasSubstr("--archive-size"));
  EXPECT_THAT(refusal({"--start", "2024-02-30"}), HasSubstr("needs a day such as 2024-06-10"));
  EXPECT_THAT(refusal({"--check-hours", "0"}), HasSubstr("checkHours"));
  EXPECT_THAT(refusal({"--svg="}), HasSubstr("--svg is an empty path"));
}

TEST_F(QuillonToolFeedSimulateTest, TheMostInstallsAreSimulated) {
  const ToolResult result =
      simulate({"--installs", "1000000000000", "--days", "1", "--versions", "2.0", "--check-hours", "24"});

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("    betas wanted: 714285714"));
}

TEST_F(QuillonToolFeedSimulateTest, WhatIsNoFeedIsAFailure) {
  testing::writeFile(feed_, "<plist><array/></plist>");
  EXPECT_EQ(simulate({}).status, 1);
  EXPECT_THAT(simulate({}).error, HasSubstr("feed.plist: Feed not found"));

  testing::writeFile(feed_, "<plist>");
  EXPECT_THAT(simulate({}).error, HasSubstr("feed.plist: Feed failed to parse"));

  std::filesystem::remove(feed_);
  EXPECT_EQ(simulate({}).status, 1);
  EXPECT_EQ(testing::ToolRun()({"feed", "simulate"}).status, 2);
}

TEST_F(QuillonToolFeedSimulateTest, AFeedWithoutDateStartsToday) {
  testing::writeFile(feed_, "<plist><array><dict/></array></plist>");
  // At any time it is another day than in UTC in one of these.
  for (const char* zone : {"Pacific/Kiritimati", "Etc/GMT+12"}) {
    const ScopedTimeZone scope(zone);
    const std::string before = today();

    const ToolResult result = simulate({"--days", "1"});

    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, AnyOf(HasSubstr("from " + before), HasSubstr("from " + today())));
    EXPECT_THAT(result.output, HasSubstr("No install is offered anything.\n"));
  }
}

TEST_F(QuillonToolFeedSimulateTest, FilesAreReadThroughLinks) {
  testing::writeFile(folder_ / "population.plist",
                     "<plist><dict><key>versions</key><dict><key>2.0</key><integer>1</integer></dict></dict></plist>");
  std::filesystem::create_symlink("population.plist", folder_ / "population");
  std::filesystem::create_symlink("feed.plist", folder_ / "link");

  const ToolResult result = testing::ToolRun()({"feed", "simulate", (folder_ / "link").string(), "--days", "1",
                                                "--population", (folder_ / "population").string()});

  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_THAT(result.output, HasSubstr("    versions: 2.0 ("));
}

TEST_F(QuillonToolFeedSimulateTest, TheExampleOfTheDocumentIsTrue) {
  const ScopedTimeZone zone("UTC");
  const std::string document = testing::readFile(QUILLON_SOURCE_FOLDER "/docs/feed-format.md");
  testing::writeFile(feed_, between(document, "\n## Staggered roll-out\n", "```xml\n", "```"));
  const std::string example =
      between(document, "\n## Staggered roll-out\n", "```\n$ quillon feed simulate feed.plist ", "```");
  const std::size_t lineEnd = example.find('\n');
  std::vector<std::string> options;
  std::istringstream words(example.substr(0, lineEnd));
  for (std::string word; words >> word;) options.push_back(word);

  EXPECT_EQ(simulate(options).output, example.substr(lineEnd + 1));
}

TEST_F(QuillonToolFeedSimulateTest, TheManualPageNamesItsOptions) {
  const std::string page = testing::readFile(QUILLON_SOURCE_FOLDER "/docs/man/quillon.1");
  const QuillonToolSubcommand subcommand = feedSimulateSubcommand();

  EXPECT_THAT(page, HasSubstr("\n.SS quillon feed simulate\n"));
  for (const QuillonToolOption& option : subcommand.options) {
    std::string name;
    for (const char c : option.name) name += c == '-' ? std::string("\\-") : std::string(1, c);
    EXPECT_THAT(page, HasSubstr(name));
    EXPECT_THAT(std::string(subcommand.help), HasSubstr(std::string(option.name)));
  }
}

}  // namespace
}  // namespace quillon
