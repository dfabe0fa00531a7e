#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string_view>

#include "QuillonCore/Values/PropertyListCodec/PropertyListTree.h"

namespace quillon {
namespace {

TEST(PropertyListTreeTest, NumbersAreReadFromTheirFirstByteOn) {
  const std::array<unsigned char, 8> bytes = {1, 2, 3, 4, 5, 6, 7, 8};

  EXPECT_EQ(PropertyListTree::bigEndian(bytes.data(), 1), 0x01U);
  EXPECT_EQ(PropertyListTree::bigEndian(bytes.data(), 3), 0x010203U);
  EXPECT_EQ(PropertyListTree::bigEndian(bytes.data(), 8), 0x0102030405060708U);
}

TEST(PropertyListTreeTest, ChildrenOfABinaryListAreReferences) {
  // Two keys, then two values; the bytes after them are what a file has there, too.
  static constexpr char kReferences[] = "\0\1\0\2\0\3\0\1.......";
  auto objects = std::make_unique<PropertyListRecord[]>(4);
  objects[0] = PropertyListRecord::ofChildren(PropertyListType::dictionary, kReferences, 2);
  objects[1] = PropertyListRecord::ofText(PropertyListType::string, "a");
  objects[2] = PropertyListRecord::ofText(PropertyListType::string, "b");
  objects[3] = PropertyListRecord::ofReal(0.5);
  PropertyListTree tree;

  tree.setObjects(std::move(objects), 0, 2);

  EXPECT_EQ(tree.key(tree.root(), 1).string(), "b");
  EXPECT_EQ(tree.value(tree.root(), 0).real, 0.5);
  EXPECT_EQ(tree.find(tree.root(), "b")->string(), "a");
  EXPECT_EQ(tree.find(tree.root(), "c"), nullptr);
}

}  // namespace
}  // namespace quillon
