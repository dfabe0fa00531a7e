#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonToolTests/FeedLint/FeedChecking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(VersionRangesCheckTest, RangesThatAdmitSomethingAreFine) {
  EXPECT_THAT(findingsOf(checkVersionRanges, {{"version", "2.0-2.9"}, {"os", "13.0"}}), IsEmpty());
  EXPECT_THAT(findingsOf(checkVersionRanges, {{"version", "-5.0"}}), IsEmpty());
  EXPECT_THAT(findingsOf(checkVersionRanges, {{"version", "2.0-2.0"}}), IsEmpty());
}

TEST(VersionRangesCheckTest, ARangeThatAdmitsNothingIsAnError) {
  EXPECT_THAT(findingsOf(checkVersionRanges, {{"version", "4.0-"}}),
              ElementsAre("error version: The range \"4.0-\" admits no version."));
  EXPECT_THAT(findingsOf(checkVersionRanges, {{"os", "14.0-13.0"}}),
              ElementsAre("error os: The range \"14.0-13.0\" admits no version."));
  EXPECT_THAT(findingsOf(checkVersionRanges, {{"version", "1.0 - 2.0"}}),
              ElementsAre("error version: The range \"1.0 - 2.0\" admits no version."));
}

TEST(VersionRangesCheckTest, AnEmptyHighBoundThatStillAdmitsSomethingIsAWarning) {
  EXPECT_THAT(findingsOf(checkVersionRanges, {{"version", "-"}}),
              ElementsAre("warning version: The high bound of the range \"-\" is empty."));
}

TEST(VersionRangesCheckTest, MoreThanOneHyphenIsAWarning) {
  EXPECT_THAT(findingsOf(checkVersionRanges, {{"version", "1.0-beta-2.0"}}),
              ElementsAre("warning version: The range \"1.0-beta-2.0\" has more than one hyphen."));
}

TEST(VersionRangesCheckTest, ABlankIsAWarning) {
  EXPECT_THAT(findingsOf(checkVersionRanges, {{"version", "1.0 -2.0"}}),
              ElementsAre("warning version: The range \"1.0 -2.0\" has a blank in it."));
}

}  // namespace
}  // namespace quillon
