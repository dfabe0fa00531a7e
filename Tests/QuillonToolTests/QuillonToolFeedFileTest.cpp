#include <gtest/gtest.h>

#include <filesystem>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/QuillonToolFeedFile.h"
#include "QuillonTool/QuillonToolUsageError.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

TEST(QuillonToolFeedFileTest, IsReadThroughALink) {
  const testing::TemporaryDirectory folder;
  testing::writeFile(folder / "a.plist", "bytes");
  std::filesystem::create_symlink("a.plist", folder / "link");

  EXPECT_EQ(bytesOfFeed(feedFile((folder / "link").string()), *makeSystemFileManager()), "bytes");
}

TEST(QuillonToolFeedFileTest, WhatCannotBeReadIsNamed) {
  try {
    (void)bytesOfFeed(feedFile("/none.plist"), *makeSystemFileManager());
    FAIL();
  } catch (const QuillonError& error) {
    EXPECT_TRUE(error.description().starts_with("Cannot read /none.plist: ")) << error.description();
  }
}

TEST(QuillonToolFeedFileTest, AnEmptyPathIsAUsageError) {
  EXPECT_THROW((void)feedFile(""), QuillonToolUsageError);
}

}  // namespace
}  // namespace quillon
