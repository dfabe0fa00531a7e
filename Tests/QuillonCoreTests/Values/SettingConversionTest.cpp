#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "QuillonCore/Values/SettingConversion.h"

namespace quillon {
namespace {

using Value = QuillonPropertyListValue;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr std::int64_t kMaximum = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMinimum = std::numeric_limits<std::int64_t>::min();

std::vector<Value> valuesOfOtherTypes() {
  return {Value(QuillonPropertyListData{{'1'}}), Value(QuillonPropertyListDate(std::chrono::microseconds(1))),
          Value(Value::Array{Value(1)}), Value(Value::Dictionary{{"1", Value(1)}})};
}

TEST(SettingConversionTest, ABooleanIsANumberOtherThanZeroOrOneOfThreeTexts) {
  for (const Value& value :
       {Value(true), Value(1), Value(-7), Value(0.5), Value(kNotANumber), Value("YES"), Value("true"), Value("1")}) {
    EXPECT_TRUE(boolOfSetting(value));
  }
  for (const Value& value : {Value(false), Value(0), Value(0.0), Value(-0.0), Value("NO"), Value("false"), Value("0"),
                             Value("2"), Value("yes"), Value("1 "), Value("")}) {
    EXPECT_FALSE(boolOfSetting(value));
  }
}

TEST(SettingConversionTest, ATextIsItselfOrThatOfANumber) {
  const std::vector<std::pair<Value, const char*>> table = {{Value("text"), "text"},
                                                            {Value(""), ""},
                                                            {Value(true), "1"},
                                                            {Value(false), "0"},
                                                            {Value(-42), "-42"},
                                                            {Value(kMinimum), "-9223372036854775808"},
                                                            {Value(3.0), "3"},
                                                            {Value(0.1), "0.1"},
                                                            {Value(-2.5), "-2.5"},
                                                            {Value(1e300), "1e+300"},
                                                            {Value(1.0 / 3), "0.3333333333333333"}};

  for (const auto& row : table) EXPECT_EQ(stringOfSetting(row.first), row.second);
}

TEST(SettingConversionTest, AnIntegerIsANumberWithoutItsFractionOrWhatATextBeginsWith) {
  const std::vector<std::pair<Value, std::int64_t>> table = {
      {Value(true), 1},
      {Value(false), 0},
      {Value(kMaximum), kMaximum},
      {Value(2.67), 2},
      {Value(-2.67), -2},
      {Value(1e30), kMaximum},
      {Value(9223372036854775808.0), kMaximum},
      {Value(-9223372036854775808.0), kMinimum},
      {Value(-1e30), kMinimum},
      {Value(kNotANumber), 0},
      {Value(kInfinity), kMaximum},
      {Value("123"), 123},
      {Value(" \t-45 apples"), -45},
      {Value("+7"), 7},
      {Value("2.67"), 2},
      {Value("9223372036854775807"), kMaximum},
      {Value("9223372036854775808"), kMaximum},
      {Value("-9223372036854775808"), kMinimum},
      {Value("-9223372036854775809"), kMinimum},
      {Value("99999999999999999999999999"), kMaximum},
      {Value(""), 0},
      {Value("-"), 0},
      {Value("--1"), 0},
      {Value("+-1"), 0},
      {Value("apples"), 0},
      {Value("0x10"), 0},
  };

  for (const auto& row : table) EXPECT_EQ(integerOfSetting(row.first), row.second) << *stringOfSetting(row.first);
}

TEST(SettingConversionTest, ARealIsANumberOrWhatATextBeginsWithButNoBoolean) {
  const std::vector<std::pair<Value, double>> table = {
      {Value(true), 0},
      {Value(3), 3},
      {Value(2.5), 2.5},
      {Value(" 2.5e3 apples"), 2500},
      {Value("-.5"), -0.5},
      {Value("+1."), 1},
      {Value("1e400"), kInfinity},
      {Value("-1e400"), -kInfinity},
      {Value("1e-400"), 0},
      {Value("0.00001e400"), kInfinity},
      {Value("1" + std::string(400, '0')), kInfinity},
      {Value("1" + std::string(400, '0') + "e-1"), kInfinity},
      {Value("0." + std::string(400, '0') + "1"), 0},
      {Value("1e99999999999999999999"), kInfinity},
      {Value("1e-99999999999999999999"), 0},
      {Value("0e99999999999999999999"), 0},
      {Value("inf"), 0},
      {Value("nan"), 0},
      {Value("-"), 0},
      {Value("."), 0},
      {Value("e5"), 0},
      {Value(""), 0},
  };

  for (const auto& row : table) EXPECT_EQ(doubleOfSetting(row.first), row.second) << *stringOfSetting(row.first);
}

TEST(SettingConversionTest, OtherTypesAreNeverConverted) {
  for (const Value& value : valuesOfOtherTypes()) {
    EXPECT_FALSE(boolOfSetting(value));
    EXPECT_EQ(stringOfSetting(value), std::nullopt);
    EXPECT_EQ(integerOfSetting(value), 0);
    EXPECT_EQ(doubleOfSetting(value), 0);
  }
}

}  // namespace
}  // namespace quillon
