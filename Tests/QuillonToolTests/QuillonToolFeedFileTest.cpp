#include <gtest/gtest.h>

#include <filesystem>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/QuillonToolFeedFile.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

TEST(QuillonToolFeedFileTest, IsReadThroughALink) {
  const testing::TemporaryDirectory folder;
  testing::writeFile(folder / "a.plist", "bytes");
  std::filesystem::create_symlink("a.plist", folder / "link");

  EXPECT_EQ(bytesOfFeed(QuillonURL::fileURL((folder / "link").string()), *makeSystemFileManager()), "bytes");
}

TEST(QuillonToolFeedFileTest, WhatCannotBeReadIsNamed) {
  try {
    (void)bytesOfFeed(QuillonURL::fileURL("/none.plist"), *makeSystemFileManager());
    FAIL();
  } catch (const QuillonError& error) {
    EXPECT_EQ(error.description(), "Cannot read /none.plist: No such file or directory (ENOENT)");
  }
}

TEST(QuillonToolFeedFileTest, WhatIsNoFeedIsNamed) {
  const testing::TemporaryDirectory folder;
  testing::writeFile(folder / "a.plist", "<plist><array/></plist>");
  const QuillonURL file = QuillonURL::fileURL((folder / "a.plist").string());

  try {
    (void)readFeedFile(file, *makeSystemFileManager());
    FAIL();
  } catch (const QuillonError& error) {
    EXPECT_EQ(error.description(), file.path() + ": Feed not found");
  }
}

}  // namespace
}  // namespace quillon
