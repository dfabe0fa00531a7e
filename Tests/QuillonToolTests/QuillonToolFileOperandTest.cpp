#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/QuillonToolFileOperand.h"
#include "QuillonTool/QuillonToolUsageError.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

QuillonURL operandOf(const std::vector<std::string>& words) {
  return fileOperand(QuillonToolArguments::parse(words, {}), "BUNDLE");
}

TEST(QuillonToolFileOperandTest, IsAPathAsItStands) {
  EXPECT_EQ(operandOf({"/A%20b/c.app/"}).path(), "/A%20b/c.app");
}

TEST(QuillonToolFileOperandTest, IsTakenFromTheCurrentFolder) {
  EXPECT_EQ(operandOf({"c.app"}).path(), (std::filesystem::current_path() / "c.app").string());
}

TEST(QuillonToolFileOperandTest, IsExactlyOneWordAndNotEmpty) {
  EXPECT_THROW((void)operandOf({}), QuillonToolUsageError);
  EXPECT_THROW((void)operandOf({"a", "b"}), QuillonToolUsageError);
  EXPECT_THROW((void)operandOf({""}), QuillonToolUsageError);
}

TEST(QuillonToolFileOperandTest, AnEmptyPathIsNotTheCurrentFolder) {
  EXPECT_THROW((void)fileAt("", "--archive"), QuillonToolUsageError);
  EXPECT_EQ(fileAt("/a.zip", "--archive").path(), "/a.zip");
}

TEST(QuillonToolFileOperandTest, OnlyAFolderCanBeABundle) {
  const testing::TemporaryDirectory folder;
  testing::writeFile(folder / "file", "text");
  const auto fileManager = makeSystemFileManager();

  EXPECT_NO_THROW(requireBundle(QuillonURL::fileURL(folder.path().string()), *fileManager));
  EXPECT_THROW(requireBundle(QuillonURL::fileURL((folder / "file").string()), *fileManager), QuillonError);
  EXPECT_THROW(requireBundle(QuillonURL::fileURL((folder / "none").string()), *fileManager), QuillonError);
}

}  // namespace
}  // namespace quillon
