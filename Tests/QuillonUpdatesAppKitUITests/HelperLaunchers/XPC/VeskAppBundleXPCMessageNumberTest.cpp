#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageNumber.h"

namespace quillon {
namespace {

using Value = QuillonPropertyListValue;

constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// One value of every kind that is neither number nor text.
std::vector<Value> valuesOfOtherKinds() {
  return {Value(QuillonPropertyListData{{'1'}}), Value(QuillonPropertyListDate(std::chrono::seconds(1))),
          Value(Value::Array{Value(1)}), Value(Value::Dictionary{{"1", Value(1)}})};
}

TEST(VeskAppBundleXPCMessageNumberTest, TheIntegerRuleTakesIntegersAsTheyAre) {
  EXPECT_EQ(xpcMessageInteger(Value(0)), 0);
  EXPECT_EQ(xpcMessageInteger(Value(kSmallest)), kSmallest);
  EXPECT_EQ(xpcMessageInteger(Value(kLargest)), kLargest);
}

TEST(VeskAppBundleXPCMessageNumberTest, ABooleanIsTheIntegerOneOrZero) {
  EXPECT_EQ(xpcMessageInteger(Value(true)), 1);
  EXPECT_EQ(xpcMessageInteger(Value(false)), 0);
  EXPECT_EQ(xpcMessageResultInteger(Value(true)), 1);
  EXPECT_EQ(xpcMessageUnsigned32(Value(true)), 1U);
  EXPECT_EQ(xpcMessageUnsigned64(Value(true)), 1U);
}

TEST(VeskAppBundleXPCMessageNumberTest, ARealLosesItsFractionTowardsZero) {
  EXPECT_EQ(xpcMessageInteger(Value(42.0)), 42);
  EXPECT_EQ(xpcMessageInteger(Value(1.99)), 1);
  EXPECT_EQ(xpcMessageInteger(Value(-1.99)), -1);
  EXPECT_EQ(xpcMessageInteger(Value(-0.0)), 0);
  EXPECT_EQ(xpcMessageInteger(Value(std::numeric_limits<double>::denorm_min())), 0);
}

TEST(VeskAppBundleXPCMessageNumberTest, ARealBeyond64BitsIsTheNearestInteger) {
  EXPECT_EQ(xpcMessageInteger(Value(0x1p63)), kLargest);
  EXPECT_EQ(xpcMessageInteger(Value(1e300)), kLargest);
  EXPECT_EQ(xpcMessageInteger(Value(kInfinity)), kLargest);
  EXPECT_EQ(xpcMessageInteger(Value(-0x1p63)), kSmallest);
  EXPECT_EQ(xpcMessageInteger(Value(-1e300)), kSmallest);
  EXPECT_EQ(xpcMessageInteger(Value(-kInfinity)), kSmallest);
}

TEST(VeskAppBundleXPCMessageNumberTest, TheLargestRealsWithin64BitsKeepTheirValue) {
  EXPECT_EQ(xpcMessageInteger(Value(9223372036854774784.0)), 9223372036854774784);  // the last one below 2^63
  EXPECT_EQ(xpcMessageInteger(Value(-9223372036854774784.0)), -9223372036854774784);
}

TEST(VeskAppBundleXPCMessageNumberTest, NaNIsNoInteger) {
  EXPECT_EQ(xpcMessageInteger(Value(kNaN)), std::nullopt);
  EXPECT_EQ(xpcMessageResultInteger(Value(-kNaN)), std::nullopt);
  EXPECT_EQ(xpcMessageUnsigned32(Value(kNaN)), std::nullopt);
  EXPECT_EQ(xpcMessageUnsigned64(Value(kNaN)), std::nullopt);
}

TEST(VeskAppBundleXPCMessageNumberTest, TheIntegerRuleTakesDecimalTextsWithOneSign) {
  EXPECT_EQ(xpcMessageInteger(Value("42")), 42);
  EXPECT_EQ(xpcMessageInteger(Value("+42")), 42);
  EXPECT_EQ(xpcMessageInteger(Value("-42")), -42);
  EXPECT_EQ(xpcMessageInteger(Value("-0")), 0);
  EXPECT_EQ(xpcMessageInteger(Value("007")), 7);
  EXPECT_EQ(xpcMessageInteger(Value("9223372036854775807")), kLargest);
  EXPECT_EQ(xpcMessageInteger(Value("-9223372036854775808")), kSmallest);
  EXPECT_EQ(xpcMessageInteger(Value(std::string(100'000, '0') + "5")), 5);
}

TEST(VeskAppBundleXPCMessageNumberTest, TheIntegerRuleRefusesEveryOtherText) {
  for (const char* const text : {"",
                                 "+",
                                 "-",
                                 "42 ",
                                 " 42",
                                 "\t42",
                                 "42\n",
                                 "++1",
                                 "+-1",
                                 "--1",
                                 "1.0",
                                 "1e3",
                                 "0x10",
                                 "1,000",
                                 "1_000",
                                 "forty",
                                 "true",
                                 "٤٢",
                                 "４２",
                                 "9223372036854775808",
                                 "-9223372036854775809",
                                 "99999999999999999999999999"}) {
    EXPECT_EQ(xpcMessageInteger(Value(text)), std::nullopt) << text;
  }
  EXPECT_EQ(xpcMessageInteger(Value(std::string("42\0", 3))), std::nullopt);
  EXPECT_EQ(xpcMessageInteger(Value(std::string(100'000, '9'))), std::nullopt);
}

TEST(VeskAppBundleXPCMessageNumberTest, TheResultIntegerRuleTakesNumbersOnly) {
  EXPECT_EQ(xpcMessageResultInteger(Value(-60005)), -60005);
  EXPECT_EQ(xpcMessageResultInteger(Value(kLargest)), kLargest);
  EXPECT_EQ(xpcMessageResultInteger(Value(-60005.9)), -60005);
  EXPECT_EQ(xpcMessageResultInteger(Value(1e300)), kLargest);
  EXPECT_EQ(xpcMessageResultInteger(Value("-60005")), std::nullopt);
  EXPECT_EQ(xpcMessageResultInteger(Value("")), std::nullopt);
}

TEST(VeskAppBundleXPCMessageNumberTest, TheUnsigned32RuleTakesNumbersOfItsRange) {
  EXPECT_EQ(xpcMessageUnsigned32(Value(0)), 0U);
  EXPECT_EQ(xpcMessageUnsigned32(Value(std::int64_t{4294967295})), 4294967295U);
  EXPECT_EQ(xpcMessageUnsigned32(Value(501.0)), 501U);
  EXPECT_EQ(xpcMessageUnsigned32(Value(4294967295.9)), 4294967295U);
  EXPECT_EQ(xpcMessageUnsigned32(Value(-0.9)), 0U);
}

TEST(VeskAppBundleXPCMessageNumberTest, TheUnsigned32RuleRefusesNumbersBeyondItsRange) {
  EXPECT_EQ(xpcMessageUnsigned32(Value(-1)), std::nullopt);
  EXPECT_EQ(xpcMessageUnsigned32(Value(std::int64_t{4294967296})), std::nullopt);
  EXPECT_EQ(xpcMessageUnsigned32(Value(kSmallest)), std::nullopt);
  EXPECT_EQ(xpcMessageUnsigned32(Value(kLargest)), std::nullopt);
  EXPECT_EQ(xpcMessageUnsigned32(Value(-1.0)), std::nullopt);
  EXPECT_EQ(xpcMessageUnsigned32(Value(4294967296.0)), std::nullopt);
  EXPECT_EQ(xpcMessageUnsigned32(Value(kInfinity)), std::nullopt);
  EXPECT_EQ(xpcMessageUnsigned32(Value(-kInfinity)), std::nullopt);
}

TEST(VeskAppBundleXPCMessageNumberTest, TheUnsigned32RuleTakesDecimalTextsWithOrWithoutPlus) {
  EXPECT_EQ(xpcMessageUnsigned32(Value("501")), 501U);
  EXPECT_EQ(xpcMessageUnsigned32(Value("+501")), 501U);
  EXPECT_EQ(xpcMessageUnsigned32(Value("000501")), 501U);
  EXPECT_EQ(xpcMessageUnsigned32(Value("4294967295")), 4294967295U);
}

TEST(VeskAppBundleXPCMessageNumberTest, TheUnsigned32RuleRefusesEveryOtherText) {
  for (const char* const text : {"", "+", "-", "-0", "-1", "+-0", "++1", "501 ", " 501", "501.0", "0x1F5", "4294967296",
                                 "99999999999999999999"}) {
    EXPECT_EQ(xpcMessageUnsigned32(Value(text)), std::nullopt) << text;
  }
}

TEST(VeskAppBundleXPCMessageNumberTest, TheUnsigned64RuleTakesNumbersThatAreNotNegative) {
  EXPECT_EQ(xpcMessageUnsigned64(Value(0)), 0U);
  EXPECT_EQ(xpcMessageUnsigned64(Value(kLargest)), 9223372036854775807U);
  EXPECT_EQ(xpcMessageUnsigned64(Value(1.5)), 1U);
  EXPECT_EQ(xpcMessageUnsigned64(Value(-0.5)), 0U);
  EXPECT_EQ(xpcMessageUnsigned64(Value(1e300)), 9223372036854775807U);
  EXPECT_EQ(xpcMessageUnsigned64(Value(-1)), std::nullopt);
  EXPECT_EQ(xpcMessageUnsigned64(Value(-1.0)), std::nullopt);
  EXPECT_EQ(xpcMessageUnsigned64(Value(-kInfinity)), std::nullopt);
}

TEST(VeskAppBundleXPCMessageNumberTest, TheUnsigned64RuleRefusesTexts) {
  EXPECT_EQ(xpcMessageUnsigned64(Value("1")), std::nullopt);
  EXPECT_EQ(xpcMessageUnsigned64(Value("")), std::nullopt);
}

TEST(VeskAppBundleXPCMessageNumberTest, ANumberIsTrueUnlessItIsZero) {
  EXPECT_EQ(xpcMessageBool(Value(true)), true);
  EXPECT_EQ(xpcMessageBool(Value(false)), false);
  EXPECT_EQ(xpcMessageBool(Value(0)), false);
  EXPECT_EQ(xpcMessageBool(Value(1)), true);
  EXPECT_EQ(xpcMessageBool(Value(-1)), true);
  EXPECT_EQ(xpcMessageBool(Value(std::int64_t{1} << 32)), true);
  EXPECT_EQ(xpcMessageBool(Value(0.0)), false);
  EXPECT_EQ(xpcMessageBool(Value(-0.0)), false);
  EXPECT_EQ(xpcMessageBool(Value(0.5)), true);
  EXPECT_EQ(xpcMessageBool(Value(kNaN)), true);
}

TEST(VeskAppBundleXPCMessageNumberTest, SixTextsAreBooleans) {
  for (const char* const text : {"1", "true", "TRUE"}) EXPECT_EQ(xpcMessageBool(Value(text)), true) << text;
  for (const char* const text : {"0", "false", "FALSE"}) EXPECT_EQ(xpcMessageBool(Value(text)), false) << text;
}

TEST(VeskAppBundleXPCMessageNumberTest, EveryOtherTextIsNoBoolean) {
  for (const char* const text : {"", "True", "False", "tRUE", "yes", "YES", "no", "Y", "t", "on", "2", "01", "+1",
                                 "1.0", " 1", "1 ", "true\n"}) {
    EXPECT_EQ(xpcMessageBool(Value(text)), std::nullopt) << text;
  }
}

TEST(VeskAppBundleXPCMessageNumberTest, NoRuleTakesAValueOfAnotherKind) {
  for (const Value& value : valuesOfOtherKinds()) {
    EXPECT_EQ(xpcMessageInteger(value), std::nullopt);
    EXPECT_EQ(xpcMessageResultInteger(value), std::nullopt);
    EXPECT_EQ(xpcMessageUnsigned32(value), std::nullopt);
    EXPECT_EQ(xpcMessageUnsigned64(value), std::nullopt);
    EXPECT_EQ(xpcMessageBool(value), std::nullopt);
  }
}

}  // namespace
}  // namespace quillon
