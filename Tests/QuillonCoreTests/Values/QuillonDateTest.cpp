#include <gtest/gtest.h>

#include "QuillonCore/Values/QuillonDate.h"

namespace quillon {
namespace {

TEST(QuillonDateTest, TheDistantPastIsTheFirstMomentOfYear1) {
  EXPECT_EQ(kDistantPast.time_since_epoch(), std::chrono::seconds(-62'135'596'800));
}

}  // namespace
}  // namespace quillon
