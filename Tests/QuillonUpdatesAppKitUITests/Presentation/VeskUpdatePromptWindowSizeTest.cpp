#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptWindowSize.h"

namespace quillon {

void PrintTo(const VeskUpdatePromptWindowSize& size, std::ostream* stream) {
  *stream << '{' << size.width << ", " << size.height << '}';
}

namespace {

using Size = VeskUpdatePromptWindowSize;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr Size kDefault{.width = 700, .height = 600};

TEST(VeskUpdatePromptWindowSizeTest, ASizeIsReadFromItsText) {
  EXPECT_EQ(sizeFromString("{640, 480}"), (Size{640, 480}));
  EXPECT_EQ(sizeFromString("{ 640.5 ,480.25 }"), (Size{640.5, 480.25}));
  EXPECT_EQ(sizeFromString("{1e3, .5}"), (Size{1000, 0.5}));
  EXPECT_EQ(sizeFromString("{+640, -480}"), (Size{640, -480}));
}

TEST(VeskUpdatePromptWindowSizeTest, WhatStandsAroundTheNumbersDoesNotMatter) {
  EXPECT_EQ(sizeFromString("640 480"), (Size{640, 480}));
  EXPECT_EQ(sizeFromString("{{640, 480}"), (Size{640, 480}));
  EXPECT_EQ(sizeFromString("{width=640; height=480}"), (Size{640, 480}));
  EXPECT_EQ(sizeFromString("{640, 480, 320}"), (Size{640, 480}));
  EXPECT_EQ(sizeFromString("640x480"), (Size{640, 480}));
}

TEST(VeskUpdatePromptWindowSizeTest, WhatIsMissingIsZero) {
  for (const char* const text : {"", "{}", "{0, 0}", "garbage", "{nan, inf}", "-", ".", "{, }"}) {
    EXPECT_EQ(sizeFromString(text), (Size{0, 0})) << text;
  }
  EXPECT_EQ(sizeFromString("{640}"), (Size{640, 0}));
}

TEST(VeskUpdatePromptWindowSizeTest, ANumberThatNoDoubleHoldsIsInfinite) {
  EXPECT_EQ(sizeFromString("{1e999, -1e999}"), (Size{kInfinity, -kInfinity}));
  EXPECT_EQ(sizeFromString(std::string(10'000, '9')), (Size{kInfinity, 0}));
}

TEST(VeskUpdatePromptWindowSizeTest, AUsableSizeStaysAsItIs) {
  EXPECT_EQ(usablePromptWindowSize({640, 480}, kDefault), (Size{640, 480}));
}

TEST(VeskUpdatePromptWindowSizeTest, AMeasureThatIsNoneIsTheDefault) {
  EXPECT_EQ(usablePromptWindowSize({0, 0}, kDefault), kDefault);
  EXPECT_EQ(usablePromptWindowSize({-640, 480}, kDefault), (Size{700, 480}));
  EXPECT_EQ(usablePromptWindowSize({640, std::nan("")}, kDefault), (Size{640, 600}));
  EXPECT_EQ(usablePromptWindowSize({kInfinity, -kInfinity}, kDefault), kDefault);
}

TEST(VeskUpdatePromptWindowSizeTest, TooSmallAndTooLargeSizesAreBroughtWithinLimits) {
  EXPECT_EQ(usablePromptWindowSize({1, 1}, kDefault), kSmallestPromptWindow);
  EXPECT_EQ(usablePromptWindowSize({1e9, 1e300}, kDefault), kLargestPromptWindow);
  EXPECT_EQ(usablePromptWindowSize({-1, 9e9}, kDefault), (Size{700, kLargestPromptWindow.height}));
}

TEST(VeskUpdatePromptWindowSizeTest, ADefaultThatIsNoSizeIsReplacedAndOneOutOfLimitsBroughtWithin) {
  EXPECT_EQ(usablePromptWindowSize({0, 0}, {0, std::nan("")}), kOrdinaryPromptWindow);
  EXPECT_EQ(usablePromptWindowSize({0, 0}, {5, 5e5}), (Size{kSmallestPromptWindow.width, kLargestPromptWindow.height}));
}

}  // namespace
}  // namespace quillon
