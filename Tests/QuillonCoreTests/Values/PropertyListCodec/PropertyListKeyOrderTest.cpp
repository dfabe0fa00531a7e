#include "QuillonCore/Values/PropertyListCodec/PropertyListKeyOrder.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace quillon {
namespace {

TEST(PropertyListKeyOrderTest, KeysAreComparedByBytes) {
  PropertyListKeyOrder order(1000);

  EXPECT_LT(order.compare("", "a"), 0);
  EXPECT_LT(order.compare("a", "ab"), 0);
  EXPECT_GT(order.compare("\xC3\xBC", "z"), 0);
  EXPECT_EQ(order.compare(std::string(100, 'x'), std::string(100, 'x')), 0);
  EXPECT_LT(order.compare(std::string(100, 'x') + "a", std::string(100, 'x') + "b"), 0);
}

TEST(PropertyListKeyOrderTest, DuplicatesAreFoundWhereverTheyStand) {
  PropertyListKeyOrder order(1000);
  std::vector<std::string_view> keys = {"a", "b", "", "aa", "ab", "ba", "abc", "abd"};
  const auto keyAt = [&](std::size_t index) { return keys[index]; };

  EXPECT_FALSE(order.haveDuplicate(keys.size(), keyAt));
  for (std::size_t i = 0; i < keys.size(); ++i) {
    keys.push_back(keys[i]);
    EXPECT_TRUE(order.haveDuplicate(keys.size(), keyAt)) << i;
    keys.pop_back();
  }
}

TEST(PropertyListKeyOrderTest, EqualKeysAreSortedByPosition) {
  PropertyListKeyOrder order(1000);
  const std::vector<std::string_view> keys = {"b", "a", "b", "a"};
  std::array<std::uint32_t, 4> positions = {0, 1, 2, 3};

  order.sort(positions, [&](std::size_t index) { return keys[index]; });

  EXPECT_EQ(positions, (std::array<std::uint32_t, 4>{1, 3, 0, 2}));
}

TEST(PropertyListKeyOrderTest, LongEqualKeysRunIntoTheLimit) {
  PropertyListKeyOrder order(0);
  const std::string a(600000, 'x');
  const std::string b = a;

  EXPECT_EQ(order.compare(a, b), 0);
  EXPECT_EQ(order.compare(a, a), 0) << "the same key costs nothing";
  EXPECT_THROW(static_cast<void>(order.compare(a, b)), QuillonPropertyListError);
}

}  // namespace
}  // namespace quillon
