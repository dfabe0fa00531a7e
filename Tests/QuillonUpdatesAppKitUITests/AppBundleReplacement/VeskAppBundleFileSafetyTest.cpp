#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleFileSafety.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

class VeskAppBundleFileSafetyTest : public ::testing::Test {
 protected:
  [[nodiscard]] QuillonURL url(const std::string& name) const { return QuillonURL::fileURL((folder / name).string()); }
  [[nodiscard]] std::optional<QuillonURL> find(const std::string& candidate, const std::string& root) const {
    return VeskAppBundleFileSafety::realDirectoryAppBundle(files, url(candidate), url(root));
  }

  testing::TemporaryDirectory folder;
  QuillonPosixFileManager files;
};

TEST_F(VeskAppBundleFileSafetyTest, ARealFolderInsideTheRootIsTheBundle) {
  fs::create_directories(folder / "root/sub/X.app");

  EXPECT_EQ(find("root/sub/X.app", "root"), url("root/sub/X.app"));
  EXPECT_EQ(find("root/sub/X.app", "root/sub/X.app"), url("root/sub/X.app"));
}

TEST_F(VeskAppBundleFileSafetyTest, TheExtensionCountsInAnyLetterCase) {
  fs::create_directories(folder / "root/X.APP");
  fs::create_directories(folder / "root/Y.aPp");

  EXPECT_EQ(find("root/X.APP", "root"), url("root/X.APP"));
  EXPECT_EQ(find("root/Y.aPp", "root"), url("root/Y.aPp"));
}

TEST_F(VeskAppBundleFileSafetyTest, AnotherExtensionOrAFileIsNoBundleWithoutError) {
  fs::create_directories(folder / "root/X.bundle");
  testing::writeFile(folder / "root/X.app", "");

  EXPECT_EQ(find("root/X.bundle", "root"), std::nullopt);
  EXPECT_EQ(find("root/X.app", "root"), std::nullopt);
  EXPECT_EQ(find("root/none", "root"), std::nullopt);
}

TEST_F(VeskAppBundleFileSafetyTest, ALinkToAFolderInsideTheRootIsAnInvalidArchive) {
  fs::create_directories(folder / "root/Real.app");
  fs::create_directory_symlink("Real.app", folder / "root/X.app");

  EXPECT_THROW((void)find("root/X.app", "root"), VeskUpdateInstallerError);
}

TEST_F(VeskAppBundleFileSafetyTest, WhatIsMissingOrOutsideTheRootIsAnInvalidArchive) {
  fs::create_directories(folder / "root");
  fs::create_directories(folder / "rooted/X.app");
  fs::create_directory_symlink(folder / "rooted", folder / "root/link");

  for (const char* candidate : {"root/none.app", "rooted/X.app", "root/link/X.app", "root/../rooted/X.app"}) {
    try {
      (void)find(candidate, "root");
      FAIL() << candidate;
    } catch (const VeskUpdateInstallerError& error) {
      EXPECT_EQ(error, VeskUpdateInstallerError::invalidArchive());
    }
  }
}

TEST_F(VeskAppBundleFileSafetyTest, APathLiesInsideARootOnlyAtAWholeComponent) {
  EXPECT_TRUE(VeskAppBundleFileSafety::contains("/a/b", "/a/b"));
  EXPECT_TRUE(VeskAppBundleFileSafety::contains("/a/b", "/a/b/c"));
  EXPECT_TRUE(VeskAppBundleFileSafety::contains("/", "/a"));
  EXPECT_FALSE(VeskAppBundleFileSafety::contains("/a/b", "/a/bc"));
  EXPECT_FALSE(VeskAppBundleFileSafety::contains("/a/b", "/a"));
}

TEST_F(VeskAppBundleFileSafetyTest, OnlyARealFolderWithTheExtensionIsABundle) {
  fs::create_directories(folder / "X.app");
  fs::create_directories(folder / "Y.APP");
  fs::create_directories(folder / "X.bundle");
  fs::create_directory_symlink("X.app", folder / "Link.app");
  testing::writeFile(folder / "File.app", "");

  EXPECT_TRUE(VeskAppBundleFileSafety::isRealDirectoryAppBundle(files, url("X.app")));
  EXPECT_TRUE(VeskAppBundleFileSafety::isRealDirectoryAppBundle(files, url("Y.APP")));
  for (const char* other : {"X.bundle", "Link.app", "File.app", "none.app", "File.app/X.app"}) {
    EXPECT_FALSE(VeskAppBundleFileSafety::isRealDirectoryAppBundle(files, url(other))) << other;
  }
}

}  // namespace
}  // namespace quillon
