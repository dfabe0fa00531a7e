#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonToolTests/FeedLint/FeedChecking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Value = QuillonPropertyListValue;

TEST(ValueTypesCheckTest, StringsAreFine) {
  EXPECT_THAT(findingsOf(checkValueTypes, {{"important", "1"}, {"interval", "60"}}), IsEmpty());
}

TEST(ValueTypesCheckTest, ABooleanWhereOneIsExpectedIsAnError) {
  EXPECT_THAT(findingsOf(checkValueTypes, with({}, "important", Value(true))),
              ElementsAre("error important: The value is a Boolean, not a string."));
}

TEST(ValueTypesCheckTest, ANumberWhereAStringIsExpectedIsAnErrorThatSaysWhatToWrite) {
  std::vector<FeedFinding> found;
  FeedEntryFindings findings(found, 0);

  checkValueTypes(feedOf({with({}, "currentbuild", Value(1200))}).at(0), findings);

  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].problem, "The value is an integer, not a string.");
  EXPECT_EQ(found[0].mend, "Write <string>1200</string>.");
}

TEST(ValueTypesCheckTest, OnlyTheIntervalMayBeANumber) {
  EXPECT_THAT(findingsOf(checkValueTypes, with({}, "interval", Value(60))), IsEmpty());
  EXPECT_THAT(findingsOf(checkValueTypes, with({}, "interval", Value(60.5))), IsEmpty());
  EXPECT_THAT(findingsOf(checkValueTypes, with({}, "interval", Value(true))),
              ElementsAre("error interval: The value is a Boolean, not a string."));
}

TEST(ValueTypesCheckTest, EveryOtherTypeIsAnError) {
  const QuillonPropertyListDate date{};
  EXPECT_THAT(findingsOf(checkValueTypes, with({}, "releasedate", Value(date))),
              ElementsAre("error releasedate: The value is a date, not a string."));
  EXPECT_THAT(findingsOf(checkValueTypes, with({}, "title", Value(1.5))),
              ElementsAre("error title: The value is a real number, not a string."));
  EXPECT_THAT(findingsOf(checkValueTypes, with({}, "os", Value(Value::Array()))),
              ElementsAre("error os: The value is an array, not a string."));
  EXPECT_THAT(findingsOf(checkValueTypes, with({}, "sku", Value(Value::Dictionary()))),
              ElementsAre("error sku: The value is a dictionary, not a string."));
  EXPECT_THAT(findingsOf(checkValueTypes, with({}, "id", Value(QuillonPropertyListData()))),
              ElementsAre("error id: The value is data, not a string."));
}

TEST(ValueTypesCheckTest, AnEmptyStringCountsAsMissing) {
  EXPECT_THAT(findingsOf(checkValueTypes, {{"sku", ""}}), ElementsAre("warning sku: The value is empty."));
}

TEST(ValueTypesCheckTest, UnknownKeysMayHaveAnyType) {
  EXPECT_THAT(findingsOf(checkValueTypes, with({}, "own", Value(true))), IsEmpty());
}

}  // namespace
}  // namespace quillon
