#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using Value = QuillonPropertyListValue;

std::string problemOf(const Value& value) {
  try {
    static_cast<void>(writeXMLPropertyList(value));
  } catch (const QuillonPropertyListError& error) {
    return error.what();
  }
  return "was written";
}

TEST(XMLPropertyListWriterTest, TheTextIsTheOneOfThePlatform) {
  const Value list(Value::Dictionary{{"b", Value(Value::Array{Value(1), Value(0.5), Value(Value::Array{})})},
                                     {"a", Value("<&>")},
                                     {"d", Value(Value::Dictionary{})},
                                     {"c", Value(QuillonPropertyListData{{1, 2, 3, 4}})},
                                     {"e", Value(QuillonPropertyListDate(std::chrono::milliseconds(1999)))},
                                     {"f", Value(true)}});

  EXPECT_EQ(writeXMLPropertyList(list),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
            "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
            "<plist version=\"1.0\">\n"
            "<dict>\n"
            "\t<key>a</key>\n"
            "\t<string>&lt;&amp;&gt;</string>\n"
            "\t<key>b</key>\n"
            "\t<array>\n"
            "\t\t<integer>1</integer>\n"
            "\t\t<real>0.5</real>\n"
            "\t\t<array/>\n"
            "\t</array>\n"
            "\t<key>c</key>\n"
            "\t<data>\n"
            "\tAQIDBA==\n"
            "\t</data>\n"
            "\t<key>d</key>\n"
            "\t<dict/>\n"
            "\t<key>e</key>\n"
            "\t<date>1970-01-01T00:00:01Z</date>\n"
            "\t<key>f</key>\n"
            "\t<true/>\n"
            "</dict>\n"
            "</plist>\n");
}

TEST(XMLPropertyListWriterTest, LongDataIsBrokenIntoLines) {
  const QuillonPropertyListData data{std::vector<std::uint8_t>(60, 0)};

  EXPECT_THAT(writeXMLPropertyList(Value(data)), HasSubstr("\n" + std::string(76, 'A') + "\nAAAA\n"));
}

TEST(XMLPropertyListWriterTest, CarriageReturnsSurviveOtherReaders) {
  EXPECT_THAT(writeXMLPropertyList(Value("a\r\n")), HasSubstr("<string>a&#13;\n</string>"));
  EXPECT_EQ(readPropertyList(writeXMLPropertyList(Value("a\r\n"))), Value("a\r\n"));
}

TEST(XMLPropertyListWriterTest, WhatXMLCannotHoldIsRefused) {
  EXPECT_THAT(problemOf(Value("\x14")), HasSubstr("no control characters"));
  EXPECT_THAT(problemOf(Value(std::string(1, '\0'))), HasSubstr("no control characters"));
  EXPECT_THAT(problemOf(Value("\xEF\xBF\xBF")), HasSubstr("U+FFFF"));
  EXPECT_THAT(problemOf(Value("\xFF")), HasSubstr("not UTF-8"));
  EXPECT_THAT(problemOf(Value(Value::Dictionary{{"\x01", Value(1)}})), HasSubstr("no control characters"));
}

TEST(XMLPropertyListWriterTest, DatesHaveFourDigitsForTheYear) {
  const auto day = [](int year) {
    return QuillonPropertyListDate(std::chrono::sys_days(std::chrono::year(year) / 1 / 1));
  };

  EXPECT_THAT(writeXMLPropertyList(Value(day(1))), HasSubstr("<date>0001-01-01T00:00:00Z</date>"));
  EXPECT_THAT(problemOf(Value(day(10000))), HasSubstr("years 0 to 9999"));
  EXPECT_THAT(problemOf(Value(day(-1))), HasSubstr("years 0 to 9999"));
}

TEST(XMLPropertyListWriterTest, WhatIsTooDeepToBeReadIsNotWritten) {
  Value value(1);
  for (int i = 0; i < 513; ++i) {
    Value::Array array;
    array.push_back(std::move(value));
    value = Value(std::move(array));
  }

  EXPECT_THAT(problemOf(value), HasSubstr("more than 512 deep"));
}

}  // namespace
}  // namespace quillon
