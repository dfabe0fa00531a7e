#include <gtest/gtest.h>

#include <string_view>
#include <system_error>

#include "QuillonCore/Text/RealNumber.h"

namespace quillon {
namespace {

double read(std::string_view text) {
  double value = 0;
  (void)realFromCharacters(text.data(), text.data() + text.size(), value);
  return value;
}

TEST(RealNumberTest, ANumberIsReadToItsEnd) {
  const std::string_view text = "-12.5e-1 and more";

  double value = 0;
  const auto [end, error] = realFromCharacters(text.data(), text.data() + text.size(), value);

  EXPECT_EQ(error, std::errc{});
  EXPECT_EQ(end - text.data(), 8);
  EXPECT_EQ(value, -1.25);
}

TEST(RealNumberTest, WhatIsNoNumberIsRefused) {
  const std::string_view text = " 1";

  double value = 7;
  const auto [end, error] = realFromCharacters(text.data(), text.data() + text.size(), value);

  EXPECT_EQ(error, std::errc::invalid_argument);
  EXPECT_EQ(end, text.data());
  EXPECT_EQ(value, 7);
}

TEST(RealNumberTest, TheShortestTextIsReadAsTheSameNumber) {
  EXPECT_EQ(shortestRealText(0.1), "0.1");
  EXPECT_EQ(shortestRealText(1e22), "1e+22");
  EXPECT_EQ(read(shortestRealText(0.1 + 0.2)), 0.1 + 0.2);
}

TEST(RealNumberTest, DigitsAreSignificantOnes) {
  EXPECT_EQ(realText(1.0 / 3, 4), "0.3333");
  EXPECT_EQ(realText(123456789, 3), "1.23e+08");
  EXPECT_EQ(realText(2, 16), "2");
}

}  // namespace
}  // namespace quillon
