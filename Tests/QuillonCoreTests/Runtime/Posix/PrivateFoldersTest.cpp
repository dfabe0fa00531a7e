#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "QuillonCore/Runtime/Posix/PrivateFolders.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

unsigned modeOf(const std::filesystem::path& item) {
  struct stat status {};
  return stat(item.c_str(), &status) == 0 ? status.st_mode & 0777U : 0;
}

TEST(PrivateFoldersTest, MissingFoldersAreTheUsersAloneAndOthersStayAsTheyAre) {
  const testing::TemporaryDirectory folder;
  std::filesystem::create_directory(folder / "there");
  std::filesystem::permissions(folder / "there", std::filesystem::perms(0755));

  createPrivateFolders(QuillonPosixFileManager(), QuillonURL::fileURL((folder / "there/a/b").string()));

  EXPECT_EQ(modeOf(folder / "there"), 0755U);
  EXPECT_EQ(modeOf(folder / "there/a"), 0700U);
  EXPECT_EQ(modeOf(folder / "there/a/b"), 0700U);
}

TEST(PrivateFoldersTest, AFileInTheWayIsAnError) {
  const testing::TemporaryDirectory folder;
  testing::writeFile(folder / "file", "");

  EXPECT_THROW(createPrivateFolders(QuillonPosixFileManager(), QuillonURL::fileURL((folder / "file/a").string())),
               QuillonSystemError);
}

}  // namespace
}  // namespace quillon
