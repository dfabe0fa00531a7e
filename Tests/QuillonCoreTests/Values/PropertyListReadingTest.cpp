#include <gtest/gtest.h>

#include "QuillonCore/Values/PropertyListReading.h"

namespace quillon {
namespace {

TEST(PropertyListReadingTest, AStringIsReadAndEverythingElseIsEmpty) {
  const QuillonPropertyListValue::Dictionary dictionary{{"text", QuillonPropertyListValue("value")},
                                                        {"number", QuillonPropertyListValue(7)},
                                                        {"flag", QuillonPropertyListValue(true)}};

  EXPECT_EQ(stringOrEmpty(dictionary, "text"), "value");
  EXPECT_EQ(stringOrEmpty(dictionary, "number"), "");
  EXPECT_EQ(stringOrEmpty(dictionary, "flag"), "");
  EXPECT_EQ(stringOrEmpty(dictionary, "missing"), "");
}

}  // namespace
}  // namespace quillon
