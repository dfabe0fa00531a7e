#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonToolTests/FeedLint/FeedChecking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(OfferedBuildCheckTest, ANumberAboveZeroIsFineAndSoIsNone) {
  EXPECT_THAT(findingsOf(checkOfferedBuild, {{"currentbuild", "+120"}}), IsEmpty());
  EXPECT_THAT(findingsOf(checkOfferedBuild, {{"id", "1"}}), IsEmpty());
}

TEST(OfferedBuildCheckTest, WhatIsNoNumberIsAnError) {
  EXPECT_THAT(findingsOf(checkOfferedBuild, {{"currentbuild", "12a"}}),
              ElementsAre("error currentbuild: The build \"12a\" is no whole number of 64 bits."));
  EXPECT_THAT(findingsOf(checkOfferedBuild, {{"currentbuild", "9223372036854775808"}}),
              ElementsAre("error currentbuild: The build \"9223372036854775808\" is no whole number of 64 bits."));
}

TEST(OfferedBuildCheckTest, ZeroIsAWarning) {
  EXPECT_THAT(findingsOf(checkOfferedBuild, {{"currentbuild", "0"}}),
              ElementsAre("warning currentbuild: The build \"0\" is below 1."));
}

}  // namespace
}  // namespace quillon
