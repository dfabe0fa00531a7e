#include <gtest/gtest.h>

#include "QuillonCore/Text/QuillonCanonicalOrder.h"

namespace quillon {
namespace {

TEST(QuillonCanonicalOrderTest, DecomposesAndOrdersMarks) {
  EXPECT_TRUE(canonicallyDecomposed(U"\u1EAD") == U"a\u0323\u0302");
  EXPECT_TRUE(canonicallyDecomposed(U"e\u0301\u0323x\u0301") == U"e\u0323\u0301x\u0301");
  EXPECT_TRUE(canonicallyDecomposed(U"\uAC01") == U"\u1100\u1161\u11A8");
  EXPECT_TRUE(canonicallyDecomposed(U"\uFB01") == U"\uFB01") << "a compatibility character stays";
}

TEST(QuillonCanonicalOrderTest, SurrogatesStandForThemselves) {
  const std::u32string badBytes = {0xDCFF, 0xDC80};

  EXPECT_TRUE(canonicallyDecomposed(badBytes) == badBytes);
}

TEST(QuillonCanonicalOrderTest, EquivalentSpellingsAreTheSame) {
  EXPECT_EQ(compareCanonically(U"\u00E9", U"e\u0301"), ComparisonResult::same);
  EXPECT_EQ(compareCanonically(U"", U""), ComparisonResult::same);
}

TEST(QuillonCanonicalOrderTest, OthersAreOrderedByTheirScalars) {
  EXPECT_EQ(compareCanonically(U"a", U"b"), ComparisonResult::ascending);
  EXPECT_EQ(compareCanonically(U"a", U"B"), ComparisonResult::descending);
  EXPECT_EQ(compareCanonically(U"a", U"ab"), ComparisonResult::ascending);
  EXPECT_EQ(compareCanonically(U"\U00010000", U"\uFFFF"), ComparisonResult::descending);
}

}  // namespace
}  // namespace quillon
