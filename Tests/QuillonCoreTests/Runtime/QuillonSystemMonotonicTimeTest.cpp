#include <gtest/gtest.h>

#include "QuillonCore/Runtime/QuillonSystemMonotonicTime.h"

namespace quillon {
namespace {

TEST(QuillonSystemMonotonicTimeTest, TimeGoesForwardOnly) {
  const QuillonMonotonicTimeProvider time = makeSystemMonotonicTimeProvider();

  const std::uint64_t first = time();
  std::uint64_t later = time();
  while (later == first) later = time();

  EXPECT_GT(first, 0U);
  EXPECT_GT(later, first);
}

}  // namespace
}  // namespace quillon
