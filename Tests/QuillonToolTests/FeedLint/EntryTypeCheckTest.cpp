#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonToolTests/FeedLint/FeedChecking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(EntryTypeCheckTest, AnUpdateAndAnotherTypeAreFine) {
  EXPECT_THAT(findingsOf(checkEntryType, {{"type", "update"}}), IsEmpty());
  EXPECT_THAT(findingsOf(checkEntryType, {{"type", "news"}}), IsEmpty());
}

TEST(EntryTypeCheckTest, AMissingTypeIsAnError) {
  EXPECT_THAT(findingsOf(checkEntryType, {{"id", "1"}}),
              ElementsAre("error type: The type is missing, empty or no string."));
  EXPECT_THAT(findingsOf(checkEntryType, with({}, "type", QuillonPropertyListValue(true))),
              ElementsAre("error type: The type is missing, empty or no string."));
}

TEST(EntryTypeCheckTest, ATypeThatOnlyLooksLikeAnUpdateIsAnError) {
  EXPECT_THAT(findingsOf(checkEntryType, {{"type", " Update"}}),
              ElementsAre("error type: The type is \" Update\", which is not \"update\"."));
}

}  // namespace
}  // namespace quillon
