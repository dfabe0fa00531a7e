#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <functional>

#include "CodeSignature/FileOpening.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

class FileOpeningTest : public ::testing::Test {
 protected:
  FileOpeningTest() {
    testing::writeFile(folder_ / "a/b/file", "content");
    std::filesystem::create_symlink("b", folder_ / "a/link");
    std::filesystem::create_symlink("file", folder_ / "a/b/fileLink");
    descriptor_ = openFolder(AT_FDCWD, folder_.path().string());
  }

  static std::int64_t errorOf(const std::function<void()>& work) {
    try {
      work();
      return 0;
    } catch (const QuillonSystemError& error) {
      return error.code();
    }
  }

  testing::TemporaryDirectory folder_;
  FileDescriptor descriptor_;
};

TEST_F(FileOpeningTest, FoldersAreOpenedBeneathWithoutFollowingLinks) {
  const FileDescriptor inner = openFolderBeneath(descriptor_.get(), "a/b");
  EXPECT_EQ(readWholeFile(openRegularFile(inner.get(), "file"), 100), "content");
  EXPECT_EQ(errorOf([this] { (void)openFolderBeneath(descriptor_.get(), "a/link"); }), ENOTDIR);
  EXPECT_EQ(errorOf([this] { (void)openFolderBeneath(descriptor_.get(), "a/link/."); }), ELOOP);
  EXPECT_EQ(errorOf([this] { (void)openFolderBeneath(descriptor_.get(), "a/missing"); }), ENOENT);
  EXPECT_EQ(errorOf([this] { (void)openFolderBeneath(descriptor_.get(), "a/b/file"); }), ENOTDIR);
  EXPECT_EQ(errorOf([this] { (void)openFolderBeneath(descriptor_.get(), "a/../../x"); }), EXDEV);
  EXPECT_EQ(errorOf([this] { (void)openFolderBeneath(descriptor_.get(), "/"); }), EXDEV);
}

TEST_F(FileOpeningTest, OnlyRegularFilesAreOpenedAndNothingIsWaitedFor) {
  ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
  const FileDescriptor inner = openFolderBeneath(descriptor_.get(), "a/b");

  EXPECT_EQ(errorOf([&inner] { (void)openRegularFile(inner.get(), "fileLink"); }), ELOOP);
  EXPECT_EQ(errorOf([this] { (void)openRegularFile(descriptor_.get(), "a"); }), EISDIR);
  EXPECT_EQ(errorOf([this] { (void)openRegularFile(descriptor_.get(), "pipe"); }), ENXIO);
}

TEST_F(FileOpeningTest, MoreBytesThanTheLimitAreRefused) {
  const FileDescriptor inner = openFolderBeneath(descriptor_.get(), "a/b");

  EXPECT_EQ(readWholeFile(openRegularFile(inner.get(), "file"), 7), "content");
  EXPECT_EQ(errorOf([&inner] { (void)readWholeFile(openRegularFile(inner.get(), "file"), 6); }), EFBIG);
}

}  // namespace
}  // namespace quillon
