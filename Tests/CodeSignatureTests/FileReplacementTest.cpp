#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <filesystem>

#include "CodeSignature/FileRange.h"
#include "CodeSignature/FileReplacement.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

class FileReplacementTest : public ::testing::Test {
 protected:
  FileReplacementTest() {
    testing::writeFile(directory_ / "file", "before");
    folder_ = openFolder(AT_FDCWD, directory_.path().string());
    original_ = openRegularFile(folder_.get(), "file");
  }

  [[nodiscard]] fs::path path() const { return directory_ / "file"; }
  [[nodiscard]] std::string content() const { return testing::readFile(path()); }
  [[nodiscard]] std::ptrdiff_t itemCount() const {
    return std::distance(fs::directory_iterator(directory_.path()), {});
  }

  testing::TemporaryDirectory directory_;
  FileDescriptor folder_;
  FileDescriptor original_;
};

TEST_F(FileReplacementTest, FileStaysUntilTheReplacementIsInstalled) {
  {
    FileReplacement replacement(folder_, "file");
    writeFileRange(replacement.file(), 0, "after");
    EXPECT_EQ(content(), "before");

    replacement.install(original_);
    EXPECT_EQ(content(), "after");
    replacement.keep();
  }

  EXPECT_EQ(content(), "after");
  EXPECT_EQ(itemCount(), 1);
}

TEST_F(FileReplacementTest, ReplacementThatIsNotInstalledLeavesNothing) {
  {
    const FileReplacement replacement(folder_, "file");
    writeFileRange(replacement.file(), 0, "after");
    EXPECT_EQ(itemCount(), 2);
  }

  EXPECT_EQ(content(), "before");
  EXPECT_EQ(itemCount(), 1);
}

TEST_F(FileReplacementTest, ReplacementThatIsNotKeptIsUndone) {
  struct stat before {};
  ASSERT_EQ(stat(path().c_str(), &before), 0);

  FileReplacement(folder_, "file").install(original_);

  struct stat after {};
  ASSERT_EQ(stat(path().c_str(), &after), 0);
  EXPECT_EQ(after.st_ino, before.st_ino);
  EXPECT_EQ(content(), "before");
  EXPECT_EQ(itemCount(), 1);
}

TEST_F(FileReplacementTest, PermissionsOwnerAndAttributesAreThoseOfTheOriginal) {
  const bool mayGiveAway = geteuid() == 0;
  ASSERT_EQ(chown(path().c_str(), mayGiveAway ? 12 : geteuid(), mayGiveAway ? 34 : getegid()), 0);
  ASSERT_EQ(chmod(path().c_str(), 04751), 0);
  const bool hasAttributes = setxattr(path().c_str(), "user.note", "x", 1, 0) == 0;
  struct stat before {};
  ASSERT_EQ(stat(path().c_str(), &before), 0);

  FileReplacement replacement(folder_, "file");
  replacement.install(original_);

  struct stat after {};
  ASSERT_EQ(stat(path().c_str(), &after), 0);
  EXPECT_NE(after.st_ino, before.st_ino);
  EXPECT_EQ(after.st_mode, before.st_mode);
  EXPECT_EQ(after.st_uid, before.st_uid);
  EXPECT_EQ(after.st_gid, before.st_gid);
  EXPECT_EQ(getxattr(path().c_str(), "user.note", nullptr, 0), hasAttributes ? 1 : -1);
}

TEST_F(FileReplacementTest, FileThatIsGoneIsNotReplaced) {
  {
    FileReplacement replacement(folder_, "file");
    fs::remove(path());

    EXPECT_THROW(replacement.install(original_), QuillonSystemError);
  }

  EXPECT_EQ(itemCount(), 0);
}

TEST_F(FileReplacementTest, NoFileCanBeBegunInAFolderThatIsGone) {
  const FileDescriptor gone = [this] {
    fs::create_directory(directory_ / "gone");
    FileDescriptor descriptor = openFolder(folder_.get(), "gone");
    fs::remove(directory_ / "gone");
    return descriptor;
  }();

  EXPECT_THROW(FileReplacement(gone, "file"), QuillonSystemError);
}

TEST_F(FileReplacementTest, LeftoversOfInterruptedReplacementsAreRemoved) {
  testing::writeFile(directory_ / "_CodeSignature-unfinished-0123", "half");
  fs::create_directory(directory_ / "_CodeSignature-unfinished-folder");
  testing::writeFile(directory_ / "other", "kept");

  removeUnfinishedReplacements(folder_);

  EXPECT_FALSE(fs::exists(directory_ / "_CodeSignature-unfinished-0123"));
  EXPECT_TRUE(fs::exists(directory_ / "_CodeSignature-unfinished-folder"));
  EXPECT_EQ(testing::readFile(directory_ / "other"), "kept");
}

}  // namespace
}  // namespace quillon
