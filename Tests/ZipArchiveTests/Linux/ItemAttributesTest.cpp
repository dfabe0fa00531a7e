#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/xattr.h>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/TemporaryDirectory.h"
#include "ZipArchive/Posix/ItemAttributes.h"

namespace quillon {
namespace {

class ItemAttributesTest : public ::testing::Test {
 protected:
  ItemAttributesTest() {
    testing::writeFile(folder_ / "file", "content");
    file_ = FileDescriptor(open((folder_ / "file").c_str(), O_RDWR | O_CLOEXEC));
  }

  testing::TemporaryDirectory folder_;
  FileDescriptor file_;
};

TEST_F(ItemAttributesTest, AttributesComeBackInTheOrderOfTheirNames) {
  const std::vector<ExtendedAttribute> attributes{{"a", ""}, {"b", std::string("x\0y", 3)}};

  setItemAttributes(file_.get(), {attributes[1], attributes[0]});

  EXPECT_EQ(itemAttributes(file_.get()), attributes);
  EXPECT_EQ(fgetxattr(file_.get(), "user.b", nullptr, 0), 3);
}

TEST_F(ItemAttributesTest, AnItemGoesWithoutWhatItsVolumeCannotHold) {
  setItemAttributes(file_.get(), {{"com.apple.ResourceFork", std::string(100'000, 'x')}, {"b", "kept"}});

  EXPECT_EQ(itemAttributes(file_.get()), (std::vector<ExtendedAttribute>{{"b", "kept"}}));
}

TEST_F(ItemAttributesTest, AnItemDoesNotGoWithoutAPartOfItsCodeSignature) {
  EXPECT_THROW(setItemAttributes(file_.get(), {{"com.apple.cs.CodeDirectory", std::string(100'000, 'x')}}),
               QuillonSystemError);
}

TEST_F(ItemAttributesTest, AnItemMayHaveNone) {
  EXPECT_TRUE(itemAttributes(file_.get()).empty());
}

}  // namespace
}  // namespace quillon
