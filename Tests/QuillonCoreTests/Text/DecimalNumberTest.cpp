#include <gtest/gtest.h>

#include <cstdint>

#include "QuillonCore/Text/DecimalNumber.h"

namespace quillon {
namespace {

TEST(DecimalNumberTest, SignedNumbersTakeOneSign) {
  EXPECT_EQ(decimalNumber<std::int32_t>("42"), 42);
  EXPECT_EQ(decimalNumber<std::int32_t>("+42"), 42);
  EXPECT_EQ(decimalNumber<std::int32_t>("-42"), -42);
  EXPECT_EQ(decimalNumber<std::int32_t>("-2147483648"), INT32_MIN);
  EXPECT_EQ(decimalNumber<std::int32_t>("0000000000000007"), 7);
  for (const char* text : {"", "+", "-", "--1", "+-1", "-+1", " 1", "1 ", "1.0", "0x1", "2147483648", "\u0661"}) {
    EXPECT_EQ(decimalNumber<std::int32_t>(text), std::nullopt) << text;
  }
}

TEST(DecimalNumberTest, UnsignedNumbersTakeAMinusBeforeZeroOnly) {
  EXPECT_EQ(decimalNumber<std::uint32_t>("4294967295"), 4294967295U);
  EXPECT_EQ(decimalNumber<std::uint32_t>("+1"), 1U);
  EXPECT_EQ(decimalNumber<std::uint32_t>("-0"), 0U);
  EXPECT_EQ(decimalNumber<std::uint32_t>("-00"), 0U);
  EXPECT_EQ(decimalNumber<std::uint32_t>("-1"), std::nullopt);
  EXPECT_EQ(decimalNumber<std::uint32_t>("4294967296"), std::nullopt);
}

}  // namespace
}  // namespace quillon
