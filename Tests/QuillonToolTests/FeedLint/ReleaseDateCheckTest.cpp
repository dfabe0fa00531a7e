#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonToolTests/FeedLint/FeedChecking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ReleaseDateCheckTest, ADayThatExistsIsFineAndSoIsNone) {
  EXPECT_THAT(findingsOf(checkReleaseDate, {{"releasedate", "2024-02-29"}}), IsEmpty());
  EXPECT_THAT(findingsOf(checkReleaseDate, {{"id", "1"}}), IsEmpty());
}

TEST(ReleaseDateCheckTest, ADayThatDoesNotExistIsAnError) {
  EXPECT_THAT(findingsOf(checkReleaseDate, {{"releasedate", "2024-02-30"}}),
              ElementsAre("error releasedate: \"2024-02-30\" is no day of the form yyyy-MM-dd that exists."));
  EXPECT_THAT(findingsOf(checkReleaseDate, {{"releasedate", "2024-6-1"}}),
              ElementsAre("error releasedate: \"2024-6-1\" is no day of the form yyyy-MM-dd that exists."));
}

}  // namespace
}  // namespace quillon
