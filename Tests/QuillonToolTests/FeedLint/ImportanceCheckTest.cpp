#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonToolTests/FeedLint/FeedChecking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ImportanceCheckTest, OneAndZeroAndNothingAreFine) {
  EXPECT_THAT(findingsOf(checkImportance, {{"important", "1"}}), IsEmpty());
  EXPECT_THAT(findingsOf(checkImportance, {{"important", "0"}}), IsEmpty());
  EXPECT_THAT(findingsOf(checkImportance, {{"id", "1"}}), IsEmpty());
}

TEST(ImportanceCheckTest, EveryOtherTextIsAnError) {
  EXPECT_THAT(findingsOf(checkImportance, {{"important", "true"}}),
              ElementsAre("error important: The value \"true\" is not \"1\"."));
}

}  // namespace
}  // namespace quillon
