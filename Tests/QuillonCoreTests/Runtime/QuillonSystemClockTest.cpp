#include <gtest/gtest.h>

#include "QuillonCore/Runtime/QuillonSystemClock.h"

namespace quillon {
namespace {

using std::chrono::floor;
using std::chrono::microseconds;
using std::chrono::system_clock;

TEST(QuillonSystemClockTest, EachReadIsTheDateOfThatMoment) {
  const QuillonSystemClock clock;
  const auto before = floor<microseconds>(system_clock::now());

  const auto first = clock.now();
  const auto between = floor<microseconds>(system_clock::now());
  const auto second = clock.now();

  EXPECT_LE(before, first);
  EXPECT_LE(first, between);
  EXPECT_LE(between, second);
  EXPECT_LE(second, system_clock::now());
}

}  // namespace
}  // namespace quillon
