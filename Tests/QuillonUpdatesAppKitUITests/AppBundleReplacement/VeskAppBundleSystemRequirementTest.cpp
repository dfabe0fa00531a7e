#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleSystemRequirement.h"

namespace quillon {
namespace {

struct Requirement {
  std::string_view required;
  ComparisonResult expected;
};

class VeskAppBundleSystemRequirementTest : public ::testing::TestWithParam<Requirement> {};

TEST_P(VeskAppBundleSystemRequirementTest, IsOrderedAgainstFourteenPointZeroPointZero) {
  EXPECT_EQ(compareRequiredSystemVersion(GetParam().required, {.major = 14, .minor = 0, .patch = 0}),
            GetParam().expected)
      << GetParam().required;
}

INSTANTIATE_TEST_SUITE_P(
    Requirements, VeskAppBundleSystemRequirementTest,
    ::testing::Values(
        Requirement{"14", ComparisonResult::same}, Requirement{"14.0", ComparisonResult::same},
        Requirement{"14.0.0.0", ComparisonResult::same}, Requirement{"..14..0", ComparisonResult::same},
        Requirement{"14.0.1", ComparisonResult::descending}, Requirement{"14.0.0.1", ComparisonResult::descending},
        Requirement{"14.0.0.0.2", ComparisonResult::descending}, Requirement{"15", ComparisonResult::descending},
        Requirement{"13.9.9", ComparisonResult::ascending}, Requirement{"14.0.0.-1", ComparisonResult::ascending},
        Requirement{"macOS", ComparisonResult::ascending}, Requirement{"14.x", ComparisonResult::same}));

}  // namespace
}  // namespace quillon
