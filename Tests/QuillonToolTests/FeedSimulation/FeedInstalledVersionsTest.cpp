#include <gtest/gtest.h>

#include "QuillonTool/FeedSimulation/FeedInstalledVersions.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

using Version = FeedPopulation::Version;

TEST(FeedInstalledVersionsTest, AnInstallHasTheVersionAndBuildOfTheEntryThatUpdatedIt) {
  const VeskUpdateFeed feed = feedOf({entryOf({{"current", "2.0"}, {"currentbuild", "20"}}),
                                      entryOf({{"current", "3.0"}, {"currentbuild", "many"}}), entryOf({{"id", "x"}})});
  const FeedInstalledVersions states({{.value = {.version = "1.0", .build = 10}}}, feed);

  EXPECT_EQ(states.size(), 4U);
  EXPECT_EQ(states.version(FeedInstalledVersions::stateOfVersion(0)), (Version{.version = "1.0", .build = 10}));
  EXPECT_EQ(states.version(states.stateAfterEntry(0)), (Version{.version = "2.0", .build = 20}));
  EXPECT_EQ(states.version(states.stateAfterEntry(1)), (Version{.version = "3.0", .build = 0}));
  EXPECT_EQ(states.version(states.stateAfterEntry(2)), std::nullopt);
}

TEST(FeedInstalledVersionsTest, AStateIsNamedByItsVersionElseByItsEntry) {
  const VeskUpdateFeed feed = feedOf({entryOf({{"current", "2.0"}, {"currentbuild", "20"}}), entryOf({{"id", "x"}})});
  const FeedInstalledVersions states({{.value = {.version = "1.0"}}}, feed);

  EXPECT_EQ(states.label(0), "1.0");
  EXPECT_EQ(states.label(1), "2.0/20");
  EXPECT_EQ(states.label(2), "entry 2");
  EXPECT_EQ(states.entryOf(0), std::nullopt);
  EXPECT_EQ(states.entryOf(2), 1U);
}

}  // namespace
}  // namespace quillon
