#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonToolTests/FeedLint/FeedChecking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(IdentifierCheckTest, AnIdentifierIsFine) {
  EXPECT_THAT(findingsOf(checkIdentifier, {{"id", "3.0"}}), IsEmpty());
}

TEST(IdentifierCheckTest, AnEntryWithoutAnyIsAnError) {
  EXPECT_THAT(findingsOf(checkIdentifier, {{"type", "update"}}),
              ElementsAre("error id: The entry has neither \"id\" nor \"version\"."));
}

TEST(IdentifierCheckTest, TheRangeAloneIsAWeakIdentifier) {
  EXPECT_THAT(findingsOf(checkIdentifier, {{"version", "2.0"}}), ElementsAre("warning id: The entry has no \"id\"."));
}

}  // namespace
}  // namespace quillon
