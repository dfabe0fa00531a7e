#include <gtest/gtest.h>

#include "CodeSignature/FileHashing.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

TEST(FileHashingTest, RangeEndsAtItsLengthOrAtTheEndOfTheFile) {
  const testing::TemporaryDirectory folder;
  testing::writeFile(folder / "file", "0123456789");
  const FileDescriptor file(open((folder / "file").c_str(), O_RDONLY));
  CodeHasher hasher(CodeHashType::sha256);

  hashFileRange(file, 2, 3, hasher);
  EXPECT_EQ(hasher.finish(), codeHash(CodeHashType::sha256, "234"));
  hashFileRange(file, 8, 1'000'000, hasher);
  EXPECT_EQ(hasher.finish(), codeHash(CodeHashType::sha256, "89"));
  hashFileRange(file, 50, 10, hasher);
  EXPECT_EQ(hasher.finish(), codeHash(CodeHashType::sha256, ""));
}

TEST(FileHashingTest, FilesWithoutAnnouncedSizeAreReadToTheirEnd) {
  const FileDescriptor file(open("/proc/self/status", O_RDONLY));  // its size is announced as 0
  FileHashing hashing({CodeHashType::sha256});

  EXPECT_NE(hashing.hashFile(file).at(CodeHashType::sha256), codeHash(CodeHashType::sha256, ""));
}

}  // namespace
}  // namespace quillon
