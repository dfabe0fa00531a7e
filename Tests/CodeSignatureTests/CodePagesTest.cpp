#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "CodeSignature/CodePages.h"

namespace quillon {
namespace {

/// Reads from `code`, never more than `limit` bytes at a time.
CodeReader readerOf(const std::string& code, std::size_t limit = SIZE_MAX) {
  return [&code, limit](std::uint64_t offset, std::span<char> block) -> std::size_t {
    if (offset >= code.size()) return 0;
    const std::size_t count = std::min({block.size(), code.size() - offset, limit});
    std::copy_n(code.begin() + static_cast<std::ptrdiff_t>(offset), count, block.begin());
    return count;
  };
}

std::string codeOf(std::size_t length) {
  std::string code(length, '\0');
  for (std::size_t i = 0; i < length; ++i) code[i] = static_cast<char>(i * 7 + i / 251);
  return code;
}

/// The plain way: one page after the other.
std::string expectedHashes(CodeHashType type, const std::string& code, std::size_t pageSize) {
  std::string hashes;
  for (std::size_t offset = 0; offset < code.size(); offset += pageSize) {
    hashes += codeHash(type, std::string_view(code).substr(offset, pageSize));
  }
  return hashes;
}

struct Extent {
  std::size_t length;
  std::uint8_t pageSizeLog2;
};

class CodePagesExtentTest : public ::testing::TestWithParam<Extent> {};

TEST_P(CodePagesExtentTest, EveryPageIsHashedWithEveryAlgorithm) {
  const auto [length, pageSizeLog2] = GetParam();
  const std::string code = codeOf(length);
  const std::size_t pageSize = pageSizeLog2 == 0 ? std::max<std::size_t>(1, length) : std::size_t{1} << pageSizeLog2;

  const auto hashes = hashCodePages(readerOf(code), length, pageSizeLog2,
                                    {CodeHashType::sha1, CodeHashType::sha256Truncated, CodeHashType::sha256});

  ASSERT_EQ(hashes.size(), 3U);
  EXPECT_EQ(hashes[0], expectedHashes(CodeHashType::sha1, code, pageSize));
  EXPECT_EQ(hashes[1], expectedHashes(CodeHashType::sha256Truncated, code, pageSize));
  EXPECT_EQ(hashes[2], expectedHashes(CodeHashType::sha256, code, pageSize));
}

INSTANTIATE_TEST_SUITE_P(Extents, CodePagesExtentTest,
                         ::testing::Values(Extent{0, 12}, Extent{0, 0}, Extent{1, 12}, Extent{4096, 12},
                                           Extent{4097, 12}, Extent{300'000, 0}, Extent{256 * 1024, 12},
                                           Extent{256 * 1024 + 1, 12}, Extent{1'000'001, 14}, Extent{1'000'001, 19},
                                           Extent{2'000'001, 12}, Extent{2'097'152, 14}, Extent{2'000'001, 18},
                                           Extent{2'000'001, 20}));

TEST(CodePagesTest, ShortReadsChangeNothing) {
  const std::string code = codeOf(20'000);
  EXPECT_EQ(hashCodePages(readerOf(code, 37), code.size(), 12, {CodeHashType::sha256}).front(),
            expectedHashes(CodeHashType::sha256, code, 4096));
}

TEST(CodePagesTest, CodeThatEndsEarlyIsHashedAsFarAsItGoes) {
  const std::string code = codeOf(5000);
  const std::string hashes = hashCodePages(readerOf(code), 3 * 4096, 12, {CodeHashType::sha1}).front();
  EXPECT_EQ(hashes.substr(0, 40), expectedHashes(CodeHashType::sha1, code, 4096));
  EXPECT_EQ(hashes.size(), 60U);
}

TEST(CodePagesTest, LongCodeThatEndsBetweenPagesGetsTheHashOfNothingForTheNext) {
  const std::string code = codeOf(1'200'000 / 4096 * 4096);
  const std::string hashes = hashCodePages(readerOf(code), 2'000'000, 12, {CodeHashType::sha256}).front();
  EXPECT_EQ(hashes.substr(0, code.size() / 4096 * 32 + 32),
            expectedHashes(CodeHashType::sha256, code, 4096) + codeHash(CodeHashType::sha256, ""));
}

TEST(CodePagesTest, ErrorOfTheReaderIsPassedOn) {
  const auto failing = [](std::uint64_t, std::span<char>) -> std::size_t { throw std::runtime_error("broken disk"); };
  EXPECT_THROW((void)hashCodePages(failing, 10'000, 12, {CodeHashType::sha256}), std::runtime_error);
}

}  // namespace
}  // namespace quillon
