#include <gtest/gtest.h>

#include "CodeSignature/CodePageHashing.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

FileDescriptor fileWith(const testing::TemporaryDirectory& folder, const std::string& content) {
  testing::writeFile(folder / "file", content);
  return openRegularFile(AT_FDCWD, (folder / "file").string());
}

std::string sampleBytes(std::size_t length) {
  std::string bytes(length, '\0');
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<char>(i * 7 + i / 4096);
  return bytes;
}

TEST(CodePageHashingTest, EveryPageHasItsHashInOrder) {
  const testing::TemporaryDirectory folder;
  // More than one stretch of the work, and a last page that is shorter.
  const std::string content = sampleBytes((1 << 20) + 4096 * 3 + 100);
  const FileDescriptor file = fileWith(folder, "before" + content + "behind");

  const auto hashes = hashCodePages(file, 6, content.size(), 4096, {CodeHashType::sha1, CodeHashType::sha256});

  std::string sha1;
  std::string sha256;
  for (std::size_t page = 0; page < content.size(); page += 4096) {
    sha1 += codeHash(CodeHashType::sha1, content.substr(page, 4096));
    sha256 += codeHash(CodeHashType::sha256, content.substr(page, 4096));
  }
  EXPECT_TRUE(hashes.at(CodeHashType::sha1) == sha1);
  EXPECT_TRUE(hashes.at(CodeHashType::sha256) == sha256);
  EXPECT_EQ(hashes.size(), 2U);
}

TEST(CodePageHashingTest, HashesAreCutToTheLengthOfTheirType) {
  const testing::TemporaryDirectory folder;
  const FileDescriptor file = fileWith(folder, "abc");

  const auto hashes = hashCodePages(file, 0, 3, 4096, {CodeHashType::sha256Truncated});

  EXPECT_EQ(hashes.at(CodeHashType::sha256Truncated), codeHash(CodeHashType::sha256, "abc").substr(0, 20));
}

TEST(CodePageHashingTest, PageMayBeLargerThanAStretchOfTheWork) {
  const testing::TemporaryDirectory folder;
  const std::string content = sampleBytes((1 << 20) + 1);
  const FileDescriptor file = fileWith(folder, content);

  const auto hashes = hashCodePages(file, 0, content.size(), 1 << 20, {CodeHashType::sha256});

  EXPECT_EQ(hashes.at(CodeHashType::sha256), codeHash(CodeHashType::sha256, content.substr(0, 1 << 20)) +
                                                 codeHash(CodeHashType::sha256, content.substr(1 << 20)));
}

TEST(CodePageHashingTest, FileThatEndsBeforeTheCodeIsAnError) {
  const testing::TemporaryDirectory folder;
  const FileDescriptor file = fileWith(folder, "abc");

  EXPECT_THROW((void)hashCodePages(file, 0, 4, 4096, {CodeHashType::sha256}), QuillonSystemError);
}

TEST(CodePageHashingTest, NoCodeHasNoPages) {
  const testing::TemporaryDirectory folder;
  const FileDescriptor file = fileWith(folder, "");

  EXPECT_EQ(hashCodePages(file, 0, 0, 4096, {CodeHashType::sha256}).at(CodeHashType::sha256), "");
}

}  // namespace
}  // namespace quillon
