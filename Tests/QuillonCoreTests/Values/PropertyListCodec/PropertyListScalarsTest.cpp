#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <string>

#include "QuillonCore/Values/PropertyListCodec/PropertyListScalars.h"

namespace quillon {
namespace {

TEST(PropertyListScalarsTest, IntegersReachBothEndsOf64Bits) {
  EXPECT_EQ(parsePropertyListInteger("9223372036854775807").value, INT64_MAX);
  EXPECT_EQ(parsePropertyListInteger("-9223372036854775808").value, INT64_MIN);
  EXPECT_EQ(parsePropertyListInteger("-0x8000000000000000").value, INT64_MIN);
  EXPECT_EQ(parsePropertyListInteger("+7").value, 7);
  EXPECT_EQ(parsePropertyListInteger("007").value, 7);
  EXPECT_FALSE(parsePropertyListInteger("9223372036854775808").value.has_value());
  EXPECT_FALSE(parsePropertyListInteger("0x").value.has_value());
  EXPECT_FALSE(parsePropertyListInteger("1 2").value.has_value());
  EXPECT_FALSE(parsePropertyListInteger("+-1").value.has_value());
}

TEST(PropertyListScalarsTest, RealsDoNotDependOnTheLocale) {
  // Where this locale is missing the check is the same as without it.
  std::setlocale(LC_ALL, "de_DE.UTF-8");

  EXPECT_EQ(parsePropertyListReal("-1.5").value, -1.5);
  EXPECT_EQ(propertyListRealText(1.5), "1.5");
  EXPECT_FALSE(parsePropertyListReal("1,5").value.has_value());

  std::setlocale(LC_ALL, "C");
}

TEST(PropertyListScalarsTest, OnlyPlainRealsAreRead) {
  EXPECT_EQ(parsePropertyListReal(" +1e3 ").value, 1000.0);
  EXPECT_EQ(parsePropertyListReal(".5").value, 0.5);
  for (const char* wrong : {"", "+", "--1", "+-1", "nan(1)", "0x1p3", "1e", "1 2", "one"}) {
    EXPECT_FALSE(parsePropertyListReal(wrong).value.has_value()) << wrong;
  }
}

TEST(PropertyListScalarsTest, DatesAreOfTheCalendar) {
  EXPECT_EQ(parsePropertyListDate("1970-01-01T00:00:01Z").value, QuillonPropertyListDate(std::chrono::seconds(1)));
  EXPECT_TRUE(parsePropertyListDate("2000-02-29T00:00:00Z").value.has_value());
  for (const char* wrong :
       {"1900-02-29T00:00:00Z", "2023-00-01T00:00:00Z", "2023-13-01T00:00:00Z", "2023-01-00T00:00:00Z",
        "2023-04-31T00:00:00Z", "2023-01-01T00:60:00Z", "2023-01-01T00:00:60Z", "2023-01-01 00:00:00Z",
        "2023-1-1T00:00:00Z", "2023-01-01T00:00:00+01:00", "-023-01-01T00:00:00Z", ""}) {
    EXPECT_FALSE(parsePropertyListDate(wrong).value.has_value()) << wrong;
  }
}

TEST(PropertyListScalarsTest, Base64GoesBothWays) {
  for (const auto& [text, bytes] : {std::pair<const char*, std::string>{"", ""},
                                    {"Zg==", "f"},
                                    {"Zm8=", "fo"},
                                    {"Zm9v", "foo"},
                                    {"Zm9vYg==", "foob"},
                                    {"+/8=", "\xFB\xFF"}}) {
    EXPECT_EQ(parsePropertyListBase64(text).value, bytes);
    EXPECT_EQ(propertyListBase64({bytes.begin(), bytes.end()}), text);
  }
  EXPECT_EQ(parsePropertyListBase64("Z m\n8").value, "fo");
}

TEST(PropertyListScalarsTest, BrokenBase64IsRefused) {
  for (const char* wrong : {"Z", "Zm9vY", "Zg=", "Zg===", "=", "Zg==Zg==", "Zm-_", "Z=g="}) {
    EXPECT_FALSE(parsePropertyListBase64(wrong).value.has_value()) << wrong;
  }
}

TEST(PropertyListScalarsTest, ProblemsQuoteABeginningOnly) {
  EXPECT_EQ(parsePropertyListInteger("x").problem, "\"x\" is not an integer");
  EXPECT_EQ(parsePropertyListInteger(std::string(1000, 'x')).problem,
            "\"" + std::string(40, 'x') + "...\" is not an integer");
}

}  // namespace
}  // namespace quillon
