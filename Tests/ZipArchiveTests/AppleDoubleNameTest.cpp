#include <gtest/gtest.h>

#include "ZipArchive/AppleDoubleName.h"

namespace quillon {
namespace {

TEST(AppleDoubleNameTest, FilesBesideTheirOwnerAndInTheFolderForThemAreRecognised) {
  EXPECT_EQ(appleDoubleName("a/._b"), (AppleDoubleName{.owner = "a/b", .isInOwnFolder = false}));
  EXPECT_EQ(appleDoubleName("._b"), (AppleDoubleName{.owner = "b", .isInOwnFolder = false}));
  EXPECT_EQ(appleDoubleName("__MACOSX/a/._b"), (AppleDoubleName{.owner = "a/b", .isInOwnFolder = true}));
  EXPECT_EQ(appleDoubleName("__MACOSX/._b"), (AppleDoubleName{.owner = "b", .isInOwnFolder = true}));
}

TEST(AppleDoubleNameTest, OtherNamesAreNot) {
  for (const char* path : {"", "a", "a/b", "._", "a/._", "._a/b", ".a", "__MACOSX/a", "__MACOSX"}) {
    EXPECT_EQ(appleDoubleName(path), std::nullopt) << path;
  }
}

TEST(AppleDoubleNameTest, ThePathOfAnItemsFileLeadsBackToTheItem) {
  EXPECT_EQ(appleDoublePath("a/b"), "__MACOSX/a/._b");
  EXPECT_EQ(appleDoubleName(appleDoublePath("a")), (AppleDoubleName{.owner = "a", .isInOwnFolder = true}));
}

}  // namespace
}  // namespace quillon
