#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "CodeSignature/FileRange.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

FileDescriptor openForWriting(const std::filesystem::path& path) {
  return FileDescriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
}

TEST(FileRangeTest, WhatIsWrittenIsReadBack) {
  const testing::TemporaryDirectory folder;
  const FileDescriptor file = openForWriting(folder / "file");

  writeFileRange(file, 3, "abc");

  EXPECT_EQ(readFileRange(file, 0, 6), std::string("\0\0\0abc", 6));
  EXPECT_EQ(readFileRange(file, 4, 1), "b");
}

TEST(FileRangeTest, ReadingBeyondTheEndFails) {
  const testing::TemporaryDirectory folder;
  const FileDescriptor file = openForWriting(folder / "file");
  writeFileRange(file, 0, "abc");

  try {
    (void)readFileRange(file, 1, 3);
    FAIL() << "read more than there is";
  } catch (const QuillonSystemError& error) {
    EXPECT_TRUE(error.isPOSIX(ENODATA));
  }
}

TEST(FileRangeTest, CopiedRangeIsEqualAndItsHolesStayHoles) {
  const testing::TemporaryDirectory folder;
  const FileDescriptor from = openForWriting(folder / "from");
  const FileDescriptor to = openForWriting(folder / "to");
  constexpr std::uint64_t kLength = 8 << 20;
  writeFileRange(from, 10, "start");
  writeFileRange(from, kLength + 7, "end");

  copyFileRange(from, 10, kLength, to, 4096);
  setFileLength(to, 4096 + kLength);

  EXPECT_EQ(readFileRange(to, 4096, kLength), readFileRange(from, 10, kLength));
  struct stat status {};
  ASSERT_EQ(fstat(to.get(), &status), 0);
  EXPECT_LT(status.st_blocks * 512, 2 << 20);
}

TEST(FileRangeTest, LengthThatIsSetReadsAsZeros) {
  const testing::TemporaryDirectory folder;
  const FileDescriptor file = openForWriting(folder / "file");
  writeFileRange(file, 0, "abc");

  setFileLength(file, 1);
  setFileLength(file, 3);

  EXPECT_EQ(readFileRange(file, 0, 3), std::string("a\0\0", 3));
}

}  // namespace
}  // namespace quillon
