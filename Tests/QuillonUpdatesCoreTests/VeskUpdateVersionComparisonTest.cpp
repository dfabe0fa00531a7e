#include <gtest/gtest.h>

#include <functional>
#include <string_view>

#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"

namespace quillon {
namespace {

TEST(VeskUpdateVersionComparisonTest, OrdersAsTheComparatorDoes) {
  EXPECT_EQ(VeskUpdateVersionComparison::compare("1.0", "1.0.1"), ComparisonResult::ascending);
  EXPECT_EQ(VeskUpdateVersionComparison::compare("2.1 beta 3", "2.1b3"), ComparisonResult::same);
  EXPECT_EQ(VeskUpdateVersionComparison::compare("10", "9.9"), ComparisonResult::descending);
}

TEST(VeskUpdateVersionComparisonTest, CanBeHandedToAnEvaluator) {
  const std::function<ComparisonResult(std::string_view, std::string_view)> comparator =
      &VeskUpdateVersionComparison::compare;

  EXPECT_EQ(comparator("", "0"), ComparisonResult::same);
}

}  // namespace
}  // namespace quillon
