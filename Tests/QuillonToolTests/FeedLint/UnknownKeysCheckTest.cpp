#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonToolTests/FeedLint/FeedChecking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(UnknownKeysCheckTest, KnownKeysAreFine) {
  EXPECT_THAT(findingsOf(checkUnknownKeys, {{"type", "update"}, {"app-installer", ""}, {"installer-name", ""}}),
              IsEmpty());
}

TEST(UnknownKeysCheckTest, AnUnknownKeyIsAWarning) {
  EXPECT_THAT(findingsOf(checkUnknownKeys, {{"relasedate", "2024-01-01"}}),
              ElementsAre("warning relasedate: The key \"relasedate\" is unknown."));
}

TEST(UnknownKeysCheckTest, TheMendingNamesTheKeyThatMayBeMeant) {
  std::vector<FeedFinding> found;
  FeedEntryFindings findings(found, 3);

  checkUnknownKeys(feedOf({entryOf({{"appInstaller", ""}, {"vendor-channel", ""}})}).at(0), findings);

  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].mend, "Write \"app-installer\" if that is meant.");
  EXPECT_EQ(found[0].index, 3U);
  EXPECT_EQ(found[1].mend, "Leave it out, unless your own host reads it.");
}

}  // namespace
}  // namespace quillon
