#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <iterator>
#include <string>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/Linux/VeskUpdateInstallerDownloadFile.h"
#include "Support/ScopedFileLengthLimit.h"
#include "Support/ScopedMount.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::readFile;
using testing::ScopedFileLengthLimit;
using testing::ScopedMount;
using testing::TemporaryDirectory;
using testing::writeFile;

template <typename Action>
int failureOf(Action action) {
  try {
    action();
  } catch (const QuillonSystemError& error) {
    return static_cast<int>(error.code());
  }
  return 0;
}

std::ptrdiff_t entriesOf(const fs::path& folder) {
  return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

class VeskUpdateInstallerDownloadFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directory(folder_ / "spool");
    fs::create_directory(folder_ / "place");
    download_ = makeIn(folder_ / "spool");
    if (!download_) GTEST_SKIP() << "the temporary folder's volume has no files without names";
  }
  static std::unique_ptr<VeskUpdateInstallerDownloadFile> makeIn(const fs::path& folder) {
    return VeskUpdateInstallerDownloadFile::make(QuillonURL::fileURL(folder.string()));
  }
  void writeTo(const fs::path& file) {
    download_->writeAtomically(files_, QuillonURL::fileURL(file.string()), stopSource_.get_token());
  }

  TemporaryDirectory folder_;
  QuillonPosixFileManager files_;
  std::unique_ptr<VeskUpdateInstallerDownloadFile> download_;
  std::stop_source stopSource_;
};

TEST_F(VeskUpdateInstallerDownloadFileTest, TheFileGetsItsNameAndIsNotCopied) {
  download_->reserve(100'000);
  download_->append("abc", {});
  download_->append("def", {});
  EXPECT_TRUE(fs::is_empty(folder_ / "spool"));

  writeTo(folder_ / "place" / "archive.zip");

  struct stat status {};
  ASSERT_EQ(stat((folder_ / "place" / "archive.zip").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, S_IFREG | 0644U);
  EXPECT_EQ(readFile(folder_ / "place" / "archive.zip"), "abcdef");
  download_->append("ghi", {});
  EXPECT_EQ(fs::file_size(folder_ / "place" / "archive.zip"), 9U) << "it is a copy";
}

TEST_F(VeskUpdateInstallerDownloadFileTest, WhatIsThereIsReplaced) {
  writeFile(folder_ / "place" / "archive.zip", "an older archive");
  download_->append("abc", {});

  writeTo(folder_ / "place" / "archive.zip");

  EXPECT_EQ(readFile(folder_ / "place" / "archive.zip"), "abc");
  EXPECT_EQ(entriesOf(folder_ / "place"), 1);
}

TEST_F(VeskUpdateInstallerDownloadFileTest, NothingIsLeftOfADownloadThatIsNotWritten) {
  download_->append("abc", {});

  download_.reset();

  EXPECT_TRUE(fs::is_empty(folder_ / "spool"));
}

TEST_F(VeskUpdateInstallerDownloadFileTest, AFailureLeavesNothingAndAnotherPlaceMayFollow) {
  fs::create_directories(folder_ / "place" / "archive.zip");
  download_->append("abc", {});

  EXPECT_EQ(failureOf([&] { writeTo(folder_ / "place" / "archive.zip"); }), EISDIR);
  EXPECT_EQ(failureOf([&] { writeTo(folder_ / "missing" / "archive.zip"); }), ENOENT);
  EXPECT_EQ(entriesOf(folder_ / "place"), 1);
  writeTo(folder_ / "spool" / "archive.zip");

  EXPECT_EQ(readFile(folder_ / "spool" / "archive.zip"), "abc");
}

TEST_F(VeskUpdateInstallerDownloadFileTest, AnotherVolumeGetsACopy) {
  const ScopedMount volume(folder_ / "place", "size=8m");
  if (!volume) GTEST_SKIP() << "this process may not mount";
  const std::string content(3'000'000, 'c');
  download_->append(content, {});

  writeTo(folder_ / "place" / "archive.zip");

  EXPECT_TRUE(readFile(folder_ / "place" / "archive.zip") == content);
  struct stat status {};
  ASSERT_EQ(stat((folder_ / "place" / "archive.zip").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, S_IFREG | 0644U);
}

TEST_F(VeskUpdateInstallerDownloadFileTest, AnotherVolumeThatIsFullIsLeftAsItWas) {
  const ScopedMount volume(folder_ / "place", "size=1m");
  if (!volume) GTEST_SKIP() << "this process may not mount";
  writeFile(folder_ / "place" / "archive.zip", "an older archive");
  download_->append(std::string(3'000'000, 'c'), {});

  EXPECT_EQ(failureOf([&] { writeTo(folder_ / "place" / "archive.zip"); }), ENOSPC);

  EXPECT_EQ(readFile(folder_ / "place" / "archive.zip"), "an older archive");
  EXPECT_EQ(entriesOf(folder_ / "place"), 1);
}

TEST_F(VeskUpdateInstallerDownloadFileTest, ACopyThatIsStoppedLeavesWhatWasThere) {
  const ScopedMount volume(folder_ / "place", "size=8m");
  if (!volume) GTEST_SKIP() << "this process may not mount";
  writeFile(folder_ / "place" / "archive.zip", "an older archive");
  download_->append("abc", {});
  stopSource_.request_stop();

  EXPECT_THROW(writeTo(folder_ / "place" / "archive.zip"), QuillonCancellationError);

  EXPECT_EQ(readFile(folder_ / "place" / "archive.zip"), "an older archive");
  EXPECT_EQ(entriesOf(folder_ / "place"), 1);
}

TEST_F(VeskUpdateInstallerDownloadFileTest, AVolumeWithoutSoMuchSpaceSaysSoAtOnce) {
  const ScopedMount volume(folder_ / "place", "size=1m");
  if (!volume) GTEST_SKIP() << "this process may not mount";
  auto download = makeIn(folder_ / "place");
  ASSERT_TRUE(download);

  EXPECT_EQ(failureOf([&] { download->reserve(3'000'000); }), ENOSPC);
  EXPECT_EQ(failureOf([&] { download->append(std::string(3'000'000, 'c'), {}); }), ENOSPC);
}

TEST_F(VeskUpdateInstallerDownloadFileTest, AFileThatMayNotGrowIsAnError) {
  const ScopedFileLengthLimit limit(1000);
  download_->reserve(2000);
  download_->append(std::string(1000, 'c'), {});

  EXPECT_EQ(failureOf([&] { download_->append("d", {}); }), EFBIG);
  EXPECT_EQ(download_->size(), 1000U);
}

TEST_F(VeskUpdateInstallerDownloadFileTest, ACopyThatMayNotBeThatLongIsAnError) {
  const ScopedMount volume(folder_ / "place", "size=8m");
  if (!volume) GTEST_SKIP() << "this process may not mount";
  download_->append(std::string(2000, 'c'), {});
  const ScopedFileLengthLimit limit(1000);

  EXPECT_EQ(failureOf([&] { writeTo(folder_ / "place" / "archive.zip"); }), EFBIG);

  EXPECT_EQ(entriesOf(folder_ / "place"), 0);
}

TEST_F(VeskUpdateInstallerDownloadFileTest, AFolderThatIsNotThereTakesNone) {
  EXPECT_EQ(makeIn(folder_ / "missing"), nullptr);
  EXPECT_EQ(makeIn("/proc"), nullptr);
}

}  // namespace
}  // namespace quillon
