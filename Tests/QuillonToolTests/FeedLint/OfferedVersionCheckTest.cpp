#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonToolTests/FeedLint/FeedChecking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(OfferedVersionCheckTest, AVersionThatIsNewerForSomebodyIsFine) {
  EXPECT_THAT(findingsOf(checkOfferedVersion, {{"current", "3.0"}}), IsEmpty());
  EXPECT_THAT(findingsOf(checkOfferedVersion, {{"current", "3.0"}, {"version", "2.0-4.0"}}), IsEmpty());
}

TEST(OfferedVersionCheckTest, AMissingVersionIsAWarning) {
  EXPECT_THAT(findingsOf(checkOfferedVersion, {{"id", "1"}}),
              ElementsAre("warning current: The version that the entry offers is missing."));
}

TEST(OfferedVersionCheckTest, AVersionThatIsNewerForNobodyIsAnError) {
  EXPECT_THAT(findingsOf(checkOfferedVersion, {{"current", "2.0"}, {"version", "3.0"}}),
              ElementsAre("error current: The version \"2.0\" is newer than nothing in the range \"3.0\"."));
  EXPECT_THAT(findingsOf(checkOfferedVersion, {{"current", "3.0"}, {"version", "3.0"}}),
              ElementsAre("error current: The version \"3.0\" is newer than nothing in the range \"3.0\"."));
}

TEST(OfferedVersionCheckTest, ANewerBuildOfTheLowBoundIsFine) {
  EXPECT_THAT(findingsOf(checkOfferedVersion, {{"current", "3.0"}, {"version", "3.0"}, {"currentbuild", "2"}}),
              IsEmpty());
  EXPECT_THAT(findingsOf(checkOfferedVersion, {{"current", "3.0"}, {"version", "3.0"}, {"currentbuild", "1"}}),
              ElementsAre("error current: The version \"3.0\" is newer than nothing in the range \"3.0\"."));
}

}  // namespace
}  // namespace quillon
