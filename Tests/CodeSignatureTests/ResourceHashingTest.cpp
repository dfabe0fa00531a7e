#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <filesystem>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/ResourceHashing.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

std::vector<CodeHashes> hashesOf(const testing::TemporaryDirectory& folder, const std::vector<std::string>& paths,
                                 const std::set<CodeHashType>& types) {
  const FileDescriptor support = openFolder(AT_FDCWD, folder.path().string());
  std::vector<CodeHashes> all(paths.size());
  hashResources(support, paths, types, true,
                [&all](std::size_t index, const CodeHashes& hashes) { all[index] = hashes; });
  return all;
}

TEST(ResourceHashingTest, EveryFileHasTheHashesOfItsContent) {
  const testing::TemporaryDirectory folder;
  std::vector<std::string> paths;
  std::vector<std::string> contents;
  for (std::size_t i = 0; i < 200; ++i) {
    paths.push_back("folder" + std::to_string(i / 50) + "/file" + std::to_string(i));
    contents.emplace_back(i * 1500, static_cast<char>('a' + i % 26));  // some longer than a block
    testing::writeFile(folder / paths.back(), contents.back());
  }
  const std::set<CodeHashType> types = {CodeHashType::sha1, CodeHashType::sha256, CodeHashType::sha256Truncated};

  const std::vector<CodeHashes> hashes = hashesOf(folder, paths, types);

  for (std::size_t i = 0; i < paths.size(); ++i) {
    for (const CodeHashType type : types) EXPECT_EQ(hashes[i].at(type), codeHash(type, contents[i])) << paths[i];
  }
}

TEST(ResourceHashingTest, WhatIsNoRegularFileHasNoHashes) {
  const testing::TemporaryDirectory folder;
  testing::writeFile(folder / "file", "x");
  std::filesystem::create_symlink("file", folder / "link");
  std::filesystem::create_directory(folder / "folder");

  const auto hashes = hashesOf(folder, {"file", "folder", "link", "missing"}, {CodeHashType::sha256});

  EXPECT_EQ(hashes[0].size(), 1U);
  for (std::size_t i = 1; i < 4; ++i) EXPECT_TRUE(hashes[i].empty()) << i;
}

TEST(ResourceHashingTest, OnlyFinderDataAndResourceForksAreSidebandData) {
  const testing::TemporaryDirectory folder;
  testing::writeFile(folder / "file", "x");
  const std::string path = (folder / "file").string();
  if (setxattr(path.c_str(), "user.other", "x", 1, 0) != 0) GTEST_SKIP() << "no extended attributes here";
  EXPECT_EQ(hashesOf(folder, {"file"}, {CodeHashType::sha1}).size(), 1U);

  ASSERT_EQ(setxattr(path.c_str(), "user.com.apple.ResourceFork", "x", 1, 0), 0);

  EXPECT_THROW((void)hashesOf(folder, {"file"}, {CodeHashType::sha1}), CodeSignatureError);
}

}  // namespace
}  // namespace quillon
