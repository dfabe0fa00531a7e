#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <array>
#include <filesystem>

#include "QuillonCore/Values/QuillonError.h"
#include "Support/TemporaryDirectory.h"
#include "ZipArchive/Posix/EntryPacker.h"
#include "ZipArchive/ZipArchiveError.h"
#include "ZipArchive/ZipFormat.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::writeFile;

/// A source of one file, listed; what happens to it then is the test's.
class EntryPackerTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::vector<PackedEntry> pack() { return EntryPacker().pack(tree_.items.front(), tree_.folder.get()); }

  static SourceTree listed(const fs::path& folder) {
    writeFile(folder / "file", "content");
    return readSourceTree(folder.string(), ArchiveRoot::contents);
  }

  testing::TemporaryDirectory folder_;
  fs::path file_ = folder_ / "file";
  SourceTree tree_ = listed(folder_.path());
};

TEST_F(EntryPackerTest, AFileIsPackedWithItsAttributesBehindIt) {
  setxattr(file_.c_str(), "user.org.example", "value", 5, 0);

  const std::vector<PackedEntry> entries = pack();

  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].entry.name, "file");
  EXPECT_EQ(entries[0].data, "content");
  EXPECT_EQ(entries[0].entry.method, kZipMethodStored);
  EXPECT_EQ(entries[1].entry.name, "__MACOSX/._file");
}

TEST_F(EntryPackerTest, AFileThatGrewOrShrankMeanwhileIsRefused) {
  for (const std::string content : {"longer content", "short", ""}) {
    writeFile(file_, content);

    EXPECT_THROW((void)pack(), ZipArchiveError) << content;
  }
}

TEST_F(EntryPackerTest, AFileThatWasWrittenMeanwhileIsRefused) {
  writeFile(file_, "CONTENT");
  const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, timespec{1, 0}};
  utimensat(AT_FDCWD, file_.c_str(), times.data(), 0);

  EXPECT_THROW((void)pack(), ZipArchiveError);
}

TEST_F(EntryPackerTest, AFileThatWentMeanwhileIsAnError) {
  fs::remove(file_);

  EXPECT_THROW((void)pack(), QuillonSystemError);
}

TEST_F(EntryPackerTest, WhatTookTheFilesPlaceMeanwhileIsNotFollowed) {
  writeFile(folder_ / "secret", "content");
  fs::remove(file_);
  fs::create_symlink("secret", file_);
  EXPECT_THROW((void)pack(), QuillonSystemError);
  fs::remove(file_);
  fs::rename(folder_ / "secret", file_);
  EXPECT_THROW((void)pack(), ZipArchiveError);
}

}  // namespace
}  // namespace quillon
