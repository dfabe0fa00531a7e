#include <gtest/gtest.h>

#include <filesystem>

#include "CodeSignature/CodeObject.h"
#include "CodeSignature/CodeSignatureError.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

class CodeObjectTest : public ::testing::Test {
 protected:
  [[nodiscard]] CodeObject open(std::string_view path) const {
    return CodeObject::openAt(QuillonURL::fileURL((folder_ / path).string()));
  }
  void makeFramework() const {
    testing::writeFile(folder_ / "F.framework/Versions/A/F", "code");
    testing::writeFile(folder_ / "F.framework/Versions/A/Resources/Info.plist",
                       "<plist version=\"1.0\"><dict><key>CFBundleExecutable</key><string>F</string></dict></plist>");
    fs::create_symlink("A", folder_ / "F.framework/Versions/Current");
    fs::create_symlink("Versions/Current/F", folder_ / "F.framework/F");
  }

  testing::TemporaryDirectory folder_;
};

TEST_F(CodeObjectTest, MainExecutableStandsForItsBundleAndEveryOtherFileForItself) {
  testing::SignedBundleBuilder bundle(folder_ / "Example.app");
  bundle.withScript().withFile("MacOS/helper", "x");

  EXPECT_NE(open("Example.app").bundle(), nullptr);
  EXPECT_NE(open("Example.app/Contents/MacOS/Example").bundle(), nullptr);
  EXPECT_EQ(open("Example.app/Contents/MacOS/helper").bundle(), nullptr);
  EXPECT_EQ(open("Example.app").mainPath(), (bundle / "MacOS/Example").string());
  EXPECT_EQ(open("Example.app").formatName(), "app bundle with generic");
  EXPECT_EQ(open("Example.app/Contents/MacOS/helper").formatName(), "generic");
}

TEST_F(CodeObjectTest, FrameworkIsItsCurrentVersion) {
  makeFramework();

  for (const char* path : {"F.framework", "F.framework/F", "F.framework/Versions/A/F"}) {
    const CodeObject object = open(path);
    ASSERT_NE(object.bundle(), nullptr) << path;
    EXPECT_EQ(object.bundle()->form, BundleForm::framework) << path;
    EXPECT_EQ(object.mainPath(), (folder_ / "F.framework/Versions/A/F").string()) << path;
    EXPECT_TRUE(object.bundle()->hasResourcesFolder()) << path;
  }
  EXPECT_EQ(open("F.framework/Versions/A").bundle()->form, BundleForm::flat);
  EXPECT_EQ(open("F.framework/Versions/A").bundle()->informationPath, "Resources/Info.plist");
}

TEST_F(CodeObjectTest, CurrentVersionMustBeAFolderBesideTheLink) {
  makeFramework();
  for (const char* target : {"../../elsewhere", "/tmp", "A/Resources", "..", ""}) {
    fs::remove(folder_ / "F.framework/Versions/Current");
    if (*target != '\0') fs::create_symlink(target, folder_ / "F.framework/Versions/Current");
    EXPECT_THROW((void)open("F.framework"), CodeSignatureError) << target;
  }
}

TEST_F(CodeObjectTest, FlatBundleHasEverythingInItsFolder) {
  testing::writeFile(folder_ / "Flat.bundle/Info.plist",
                     "<plist version=\"1.0\"><dict><key>CFBundleExecutable</key><string>code</string></dict></plist>");
  testing::writeFile(folder_ / "Flat.bundle/code", "x");

  const CodeObject object = open("Flat.bundle");

  EXPECT_EQ(object.bundle()->form, BundleForm::flat);
  EXPECT_EQ(object.bundle()->supportPath(), object.path());
  EXPECT_EQ(object.bundle()->mainExecutable, "code");
  EXPECT_FALSE(object.bundle()->hasResourcesFolder());
}

TEST_F(CodeObjectTest, NestedCodeIsOpenedWithoutFollowingLinks) {
  testing::writeFile(folder_ / "a/tool", "x");
  fs::create_symlink("a", folder_ / "linked");
  fs::create_symlink("a/tool", folder_ / "linkedTool");
  const FileDescriptor support = openFolder(AT_FDCWD, folder_.path().string());

  EXPECT_EQ(CodeObject::openNested(support, "a/tool", "/X/a/tool").path(), "/X/a/tool");
  for (const char* path : {"linked", "linkedTool", "linked/tool", "missing"}) {
    EXPECT_THROW((void)CodeObject::openNested(support, path, "/X"), CodeSignatureError) << path;
  }
}

TEST_F(CodeObjectTest, NeitherFolderNorFileIsNoCode) {
  EXPECT_THROW((void)CodeObject::openAt(QuillonURL::fileURL("/dev/null")), CodeSignatureError);
  EXPECT_THROW((void)open("missing"), QuillonSystemError);
}

}  // namespace
}  // namespace quillon
