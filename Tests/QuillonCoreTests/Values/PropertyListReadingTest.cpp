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

TEST(PropertyListReadingTest, AStringOfADocumentIsReadAndEverythingElseIsEmpty) {
  const QuillonPropertyListDocument document("{text = value; list = (); data = <00>;}");

  EXPECT_EQ(stringOrEmpty(document.root(), "text"), "value");
  EXPECT_EQ(stringOrEmpty(document.root(), "list"), "");
  EXPECT_EQ(stringOrEmpty(document.root(), "data"), "");
  EXPECT_EQ(stringOrEmpty(document.root(), "missing"), "");
  EXPECT_EQ(stringOrEmpty(*document.root().find("list"), "text"), "") << "no dictionary";
}

}  // namespace
}  // namespace quillon
