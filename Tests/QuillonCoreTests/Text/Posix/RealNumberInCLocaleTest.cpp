#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Text/Posix/RealNumberInCLocale.h"

namespace quillon {
namespace {

// The standard library of this platform has the functions that these stand in for, and is what they are held against.

struct Reading {
  std::errc error{};
  std::ptrdiff_t length = 0;
  double value = 42;

  friend bool operator==(const Reading& a, const Reading& b) {
    const bool sameValue = a.value == b.value || (std::isnan(a.value) && std::isnan(b.value));
    return a.error == b.error && a.length == b.length && sameValue && std::signbit(a.value) == std::signbit(b.value);
  }
};

template <typename Read>
Reading reading(std::string_view text, Read read) {
  Reading result;
  const auto [end, error] = read(text.data(), text.data() + text.size(), result.value);
  result.error = error;
  result.length = end - text.data();
  return result;
}

Reading own(std::string_view text) {
  return reading(text, realFromCharactersInCLocale);
}

Reading standard(std::string_view text) {
  return reading(
      text, [](const char* first, const char* last, double& value) { return std::from_chars(first, last, value); });
}

std::string standardShortest(double value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

std::string standardText(double value, int digits) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits).ptr};
}

std::vector<double> someFiniteNumbers() {
  using Limits = std::numeric_limits<double>;
  std::vector<double> numbers = {
      0,    -0.0, 1,    -1,     0.1,  0.0001, 1e-5, 1e5,           123456,        1e15,  1e16,  1e17, 1e22,
      1e23, 2.5,  1e-7, 5e-324, 9e15, 1024,   0.5,  Limits::min(), Limits::max(), -1e21, 12e21, 3e-3, 1e100};
  std::mt19937_64 random(20);  // NOLINT(bugprone-random-generator-seed): every run tries the same
  while (numbers.size() < 3000) {
    const auto number = std::bit_cast<double>(random());
    if (std::isfinite(number)) numbers.push_back(number);
    numbers.push_back(static_cast<double>(random() % 1000000) / 1000);
  }
  return numbers;
}

TEST(RealNumberInCLocaleTest, ReadsWhatTheStandardReads) {
  for (const std::string_view text : {"",
                                      "0",
                                      "-0",
                                      "1",
                                      "-1",
                                      "1.5",
                                      "1.",
                                      ".5",
                                      "-.5",
                                      ".",
                                      "-",
                                      "+1",
                                      " 1",
                                      "1 ",
                                      "1e",
                                      "1e+",
                                      "1e5",
                                      "1E-5",
                                      "1e5x",
                                      "e5",
                                      "0x10",
                                      "1.2.3",
                                      "--1",
                                      "1e400",
                                      "-1e400",
                                      "1e-400",
                                      "0e400",
                                      "0.0e-400",
                                      "inf",
                                      "INF",
                                      "-infinity",
                                      "infinite",
                                      "nan",
                                      "-nan",
                                      "NaNa",
                                      "x",
                                      "1,5",
                                      "00012",
                                      "4.9e-324",
                                      "1e-323",
                                      "179769313486231580793728971405301e276",
                                      "123456789012345678901234567890"}) {
    EXPECT_EQ(own(text), standard(text)) << text;
  }
}

TEST(RealNumberInCLocaleTest, WritesTheShortestTextAsTheStandardDoes) {
  for (const double number : someFiniteNumbers()) {
    EXPECT_EQ(shortestRealTextInCLocale(number), standardShortest(number));
  }
}

TEST(RealNumberInCLocaleTest, WritesSignificantDigitsAsTheStandardDoes) {
  for (const double number : someFiniteNumbers()) {
    EXPECT_EQ(realTextInCLocale(number, 16), standardText(number, 16));
    EXPECT_EQ(realTextInCLocale(number, 3), standardText(number, 3));
  }
}

}  // namespace
}  // namespace quillon
