#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Values/PropertyListCodec/PropertyListTreeBuilder.h"

namespace quillon {
namespace {

PropertyListRecord string(std::string_view text) {
  return PropertyListRecord::ofText(PropertyListType::string, text);
}
PropertyListRecord integer(std::int64_t value) {
  return PropertyListRecord::ofInteger(PropertyListType::integer, value);
}

TEST(PropertyListTreeBuilderTest, ValuesFindTheirContainers) {
  PropertyListTree tree;
  PropertyListTreeBuilder builder(tree);

  builder.open(PropertyListType::array);
  builder.add(string("a"));
  builder.open(PropertyListType::dictionary);
  EXPECT_TRUE(builder.expectsKey());
  builder.add(string("key"));
  EXPECT_FALSE(builder.expectsKey());
  builder.add(integer(7));
  builder.close();
  EXPECT_FALSE(builder.isComplete());
  builder.close();

  ASSERT_TRUE(builder.isComplete());
  ASSERT_EQ(tree.root().size, 2U);
  EXPECT_EQ(tree.element(tree.root(), 0).string(), "a");
  const PropertyListRecord& dictionary = tree.element(tree.root(), 1);
  EXPECT_EQ(tree.key(dictionary, 0).string(), "key");
  EXPECT_EQ(tree.value(dictionary, 0).integer, 7);
  EXPECT_EQ(tree.find(dictionary, "key")->integer, 7);
}

TEST(PropertyListTreeBuilderTest, AScalarAloneIsTheRoot) {
  PropertyListTree tree;
  PropertyListTreeBuilder builder(tree);

  builder.add(integer(1));

  EXPECT_TRUE(builder.isComplete());
  EXPECT_EQ(tree.root().integer, 1);
}

class DictionaryOfSizeTest : public ::testing::TestWithParam<int> {};

TEST_P(DictionaryOfSizeTest, EarlierValuesOfAKeyGiveWay) {
  PropertyListTree tree;
  PropertyListTreeBuilder builder(tree);
  std::vector<std::string> keys;
  keys.reserve(static_cast<std::size_t>(GetParam()));
  for (int i = 0; i < GetParam(); ++i) keys.push_back("key" + std::to_string(i));

  builder.open(PropertyListType::dictionary);
  for (const int round : {0, 1}) {
    for (int i = 0; i < GetParam(); ++i) {
      builder.add(string(keys[static_cast<std::size_t>(i)]));
      builder.add(integer(1000 * round + i));
    }
  }
  builder.close();

  ASSERT_EQ(tree.root().size, static_cast<std::uint32_t>(GetParam()));
  for (int i = 0; i < GetParam(); ++i) {
    EXPECT_EQ(tree.find(tree.root(), keys[static_cast<std::size_t>(i)])->integer, 1000 + i);
    EXPECT_EQ(tree.key(tree.root(), static_cast<std::size_t>(i)).string(), keys[static_cast<std::size_t>(i)]);
  }
  EXPECT_EQ(tree.find(tree.root(), "other"), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Sizes, DictionaryOfSizeTest, ::testing::Values(0, 1, 8, 9, 16, 17, 100));

}  // namespace
}  // namespace quillon
