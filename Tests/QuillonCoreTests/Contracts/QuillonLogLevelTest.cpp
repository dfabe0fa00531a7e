#include <gtest/gtest.h>

#include <limits>

#include "QuillonCore/Contracts/QuillonLogLevel.h"

namespace quillon {
namespace {

TEST(QuillonLogLevelTest, EveryRawValueOfALevelGivesThatLevel) {
  EXPECT_EQ(quillonLogLevel(0), QuillonLogLevel::debug);
  EXPECT_EQ(quillonLogLevel(1), QuillonLogLevel::info);
  EXPECT_EQ(quillonLogLevel(2), QuillonLogLevel::warn);
  EXPECT_EQ(quillonLogLevel(3), QuillonLogLevel::error);
}

TEST(QuillonLogLevelTest, ARawValueOutsideTheLevelsGivesNone) {
  for (const std::int64_t rawValue : {std::int64_t{4}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::max(),
                                      std::numeric_limits<std::int64_t>::min(), std::int64_t{1} << 32}) {
    EXPECT_EQ(quillonLogLevel(rawValue), std::nullopt) << rawValue;
  }
}

}  // namespace
}  // namespace quillon
