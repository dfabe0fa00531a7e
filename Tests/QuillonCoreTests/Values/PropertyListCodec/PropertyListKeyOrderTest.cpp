#include <gtest/gtest.h>

#include <array>
#include <string_view>
#include <vector>

#include "QuillonCore/Values/PropertyListCodec/PropertyListKeyOrder.h"

namespace quillon {
namespace {

TEST(PropertyListKeyOrderTest, DuplicatesAreFoundWhereverTheyStand) {
  std::vector<std::string_view> keys = {"a", "b", "", "aa", "ab", "ba", "abc", "abd"};
  const auto keyAt = [&](std::size_t index) { return keys[index]; };

  EXPECT_FALSE(haveDuplicateKey(keys.size(), keyAt));
  for (std::size_t i = 0; i < keys.size(); ++i) {
    keys.push_back(keys[i]);
    EXPECT_TRUE(haveDuplicateKey(keys.size(), keyAt)) << i;
    keys.pop_back();
  }
}

TEST(PropertyListKeyOrderTest, KeysAreSortedByBytesAndEqualOnesByPosition) {
  const std::vector<std::string_view> keys = {"b", "a", "\xC3\xBC", "b", "ab"};
  std::array<std::uint32_t, 5> positions = {0, 1, 2, 3, 4};
  const auto keyAt = [&](std::size_t index) { return keys[index]; };

  sortByKey(positions, keyAt);

  EXPECT_EQ(positions, (std::array<std::uint32_t, 5>{1, 4, 0, 3, 2}));
  EXPECT_TRUE(haveEqualNeighbours(positions, keyAt));
  EXPECT_FALSE(haveEqualNeighbours(std::span<const std::uint32_t>(positions).first(3), keyAt));
}

}  // namespace
}  // namespace quillon
