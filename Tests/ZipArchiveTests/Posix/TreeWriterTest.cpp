#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Support/TemporaryDirectory.h"
#include "Support/TreeSnapshot.h"
#include "Support/ZipArchiveBuilder.h"
#include "ZipArchive/AppleDouble.h"
#include "ZipArchive/Posix/ArchiveContents.h"
#include "ZipArchive/Posix/TreeWriter.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::Each;
using ::testing::Field;

struct FinishedItem {
  std::string path;
  std::thread::id thread;
};

/// What was written, and in which order.
struct WrittenTree {
  std::map<std::string, testing::ItemSnapshot> items;
  std::vector<FinishedItem> order;
};

/// Writes an archive's tree to a folder as if a thread had room for one byte.
WrittenTree writtenTree(const testing::ZipArchiveBuilder& archive) {
  const testing::TemporaryDirectory folder;
  testing::writeFile(folder / "archive", archive.build());
  fs::create_directory(folder / "tree");
  const FileDescriptor root(open((folder / "tree").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const ArchiveContents contents = readArchiveContents((folder / "archive").string(), {}, {});
  WrittenTree tree;
  std::mutex lock;
  const auto didFinishItem = [&](const std::string& path) {
    const std::lock_guard guard(lock);
    tree.order.push_back({path, std::this_thread::get_id()});
  };
  TreeWriter writer(contents, root.get(), {}, didFinishItem, 1);
  writer.makeFolders();
  writer.writeFiles();
  writer.makeLinks();
  writer.finishFolders();
  tree.items = testing::treeSnapshot(folder / "tree");
  return tree;
}

TEST(TreeWriterTest, ItemsWhoseAttributesTakeMuchMemoryAreLeftToOneThread) {
  constexpr int kCount = 300;
  testing::ZipArchiveBuilder archive;
  for (int i = 0; i < kCount; ++i) {
    const std::string name = "large" + std::to_string(i);
    archive.addFile("folder/" + name).addFile("folder/._" + name, makeAppleDouble({{"name", name}}));
  }
  archive.addFile("folder/plain").addFile("__MACOSX/._folder", makeAppleDouble({{"name", "folder"}}));

  const WrittenTree tree = writtenTree(archive);

  ASSERT_EQ(tree.order.size(), kCount + 2U);
  EXPECT_EQ(tree.order.front().path, "folder/plain");
  EXPECT_THAT(std::vector(tree.order.begin() + 1, tree.order.end()),
              Each(Field(&FinishedItem::thread, std::this_thread::get_id())));
  EXPECT_EQ(tree.items.at("folder").attributes.at("user.name"), "folder");
  for (int i = 0; i < kCount; ++i) {
    const testing::ItemSnapshot& item = tree.items.at("folder/large" + std::to_string(i));
    EXPECT_EQ(item.attributes.at("user.name"), "large" + std::to_string(i));
    EXPECT_EQ(item.content, "content");
  }
}

}  // namespace
}  // namespace quillon
