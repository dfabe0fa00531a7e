#include <gtest/gtest.h>

#include <filesystem>

#include "CodeSignature/BundleLink.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

class BundleLinkTest : public ::testing::Test {
 protected:
  BundleLinkTest() : rules_(ResourceRules::standard(2)) {
    testing::writeFile(folder_ / "X.app/Contents/Resources/file", "");
    testing::writeFile(folder_ / "X.app/Contents/MacOS/Main", "");
    testing::writeFile(folder_ / "X.app/Contents/Info.plist", "");
    testing::writeFile(folder_ / "outside", "");
    bundle_ = openFolder(AT_FDCWD, (folder_ / "X.app").string());
  }

  [[nodiscard]] bool isAllowed(const std::string& text) const {
    return isSealedDestination(bundle_, "Contents/Resources/link", text,
                               {{.support = "Contents", .rules = &rules_, .mainExecutable = &main_}});
  }
  void link(const char* name, const char* target) const {
    std::filesystem::create_symlink(target, folder_.path() / "X.app/Contents/Resources" / name);
  }

  testing::TemporaryDirectory folder_;
  ResourceRules rules_;
  std::string main_ = "MacOS/Main";
  FileDescriptor bundle_;
};

TEST_F(BundleLinkTest, SealedFilesFoldersAndTheExecutableAreAllowed) {
  link("again", "file");
  EXPECT_TRUE(isAllowed("file"));
  EXPECT_TRUE(isAllowed("./file"));
  EXPECT_TRUE(isAllowed("../Resources"));
  EXPECT_TRUE(isAllowed("../MacOS/Main"));
  EXPECT_TRUE(isAllowed("again"));
}

TEST_F(BundleLinkTest, WhatIsUnsealedMissingOrOutsideIsRefused) {
  link("loop", "loop");
  link("out", "../../../outside");
  link("absolute", "/");
  EXPECT_FALSE(isAllowed(""));
  EXPECT_FALSE(isAllowed("missing"));
  EXPECT_FALSE(isAllowed("file/x"));
  EXPECT_FALSE(isAllowed("../Info.plist"));
  EXPECT_FALSE(isAllowed("../.."));
  EXPECT_FALSE(isAllowed("../../../outside"));
  EXPECT_FALSE(isAllowed("../../../X.app/Contents/Resources/file"));
  EXPECT_FALSE(isAllowed("loop"));
  EXPECT_FALSE(isAllowed("out"));
  EXPECT_FALSE(isAllowed("absolute/etc"));
  EXPECT_FALSE(isAllowed("/etc/passwd"));
  EXPECT_FALSE(isAllowed("/System/../etc/passwd"));
  EXPECT_FALSE(isAllowed((folder_ / "X.app/Contents/Resources/file").string()));
}

}  // namespace
}  // namespace quillon
