#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateWorkingFolderSafety.h"
#include "Support/FaultInjectingFileManager.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kSomebodyElse = 4242;

class VeskUpdateWorkingFolderSafetyTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* const name : {"", "Example", "Example/Installer"}) {
      fs::create_directory(temporary_ / name);
      fs::permissions(temporary_ / name, fs::perms::owner_all);  // whatever the umask says
    }
    files_.placeWorkingFolders({}, QuillonURL::fileURL(temporary_.string()));
  }
  [[nodiscard]] bool isOutOfOthersReach(const fs::path& item) const {
    return VeskUpdateWorkingFolderSafety::isOutOfOthersReach(files_, QuillonURL::fileURL(item.string()));
  }
  /// As a folder is to everybody that all users share.
  void share() const { ASSERT_EQ(chmod(temporary_.c_str(), 01777), 0); }

  const testing::TemporaryDirectory folder_;
  const fs::path temporary_ = fs::canonical(folder_.path()) / "Temporary";
  testing::FaultInjectingFileManager files_{std::make_shared<const QuillonPosixFileManager>()};
};

TEST_F(VeskUpdateWorkingFolderSafetyTest, FoldersOfThisUserAreAlsoInAFolderThatAllShare) {
  EXPECT_TRUE(isOutOfOthersReach(temporary_ / "Example/Installer"));
  EXPECT_TRUE(isOutOfOthersReach(temporary_));

  share();

  EXPECT_TRUE(isOutOfOthersReach(temporary_ / "Example/Installer"));
  EXPECT_TRUE(isOutOfOthersReach(temporary_));
}

TEST_F(VeskUpdateWorkingFolderSafetyTest, AFolderThatAnotherUserMadeFirstIsNotNorIsAnythingInIt) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  share();
  ASSERT_EQ(chown((temporary_ / "Example").c_str(), kSomebodyElse, kSomebodyElse), 0);

  EXPECT_FALSE(isOutOfOthersReach(temporary_ / "Example"));
  EXPECT_FALSE(isOutOfOthersReach(temporary_ / "Example/Installer"));
}

TEST_F(VeskUpdateWorkingFolderSafetyTest, AFolderThatOthersMayWriteToIsNot) {
  share();
  for (const mode_t mode : {0775U, 0757U, 0777U}) {
    ASSERT_EQ(chmod((temporary_ / "Example").c_str(), mode), 0);

    EXPECT_FALSE(isOutOfOthersReach(temporary_ / "Example/Installer")) << mode;
  }
}

TEST_F(VeskUpdateWorkingFolderSafetyTest, BehindAFolderThatIsClosedToOthersModesDoNotMatter) {
  testing::writeFile(temporary_ / "Example/Installer/Example.pkg", "");
  ASSERT_EQ(chmod((temporary_ / "Example/Installer").c_str(), 0777), 0);
  ASSERT_EQ(chmod((temporary_ / "Example/Installer/Example.pkg").c_str(), 0666), 0);
  EXPECT_TRUE(isOutOfOthersReach(temporary_ / "Example/Installer/Example.pkg")) << "the temporary folder is closed";

  share();
  EXPECT_TRUE(isOutOfOthersReach(temporary_ / "Example/Installer/Example.pkg")) << "a folder in it is closed";

  ASSERT_EQ(chmod((temporary_ / "Example").c_str(), 0711), 0);
  EXPECT_FALSE(isOutOfOthersReach(temporary_ / "Example/Installer/Example.pkg"));
}

TEST_F(VeskUpdateWorkingFolderSafetyTest, WhatIsToBeMadeIsAsSafeAsTheFoldersThatAreThere) {
  const auto canBeMade = [this](const fs::path& folder) {
    return VeskUpdateWorkingFolderSafety::canBeMadeOutOfOthersReach(files_, QuillonURL::fileURL(folder.string()));
  };
  share();
  EXPECT_TRUE(canBeMade(temporary_ / "Example/Installer"));
  EXPECT_TRUE(canBeMade(temporary_ / "Example/Installer/UUID"));
  EXPECT_TRUE(canBeMade(temporary_ / "Other/Installer/UUID"));
  EXPECT_TRUE(canBeMade(folder_ / "Support/Example"));
  fs::create_directory_symlink(folder_.path(), temporary_ / "Link");
  EXPECT_FALSE(canBeMade(temporary_ / "Link/Installer/UUID"));
  fs::create_directory_symlink("/missing", temporary_ / "Dangling");
  EXPECT_FALSE(canBeMade(temporary_ / "Dangling/Installer"));

  ASSERT_EQ(chmod((temporary_ / "Example").c_str(), 0777), 0);
  EXPECT_FALSE(canBeMade(temporary_ / "Example/Installer/UUID"));
}

TEST_F(VeskUpdateWorkingFolderSafetyTest, ALinkIsNotWhereverItLeads) {
  fs::create_directory_symlink(temporary_ / "Example", temporary_ / "Link");

  EXPECT_FALSE(isOutOfOthersReach(temporary_ / "Link"));
  EXPECT_FALSE(isOutOfOthersReach(temporary_ / "Link/Installer"));
}

TEST_F(VeskUpdateWorkingFolderSafetyTest, NothingIsInASharedFolderInWhichAnybodyRemovesAnything) {
  ASSERT_EQ(chmod(temporary_.c_str(), 0777), 0);

  EXPECT_FALSE(isOutOfOthersReach(temporary_ / "Example/Installer"));
}

TEST_F(VeskUpdateWorkingFolderSafetyTest, NothingIsInATemporaryFolderOfAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  ASSERT_EQ(chown(temporary_.c_str(), kSomebodyElse, kSomebodyElse), 0);

  EXPECT_FALSE(isOutOfOthersReach(temporary_ / "Example/Installer"));
}

TEST_F(VeskUpdateWorkingFolderSafetyTest, WhatIsNotThereIsNot) {
  EXPECT_FALSE(isOutOfOthersReach(temporary_ / "Missing"));
}

TEST_F(VeskUpdateWorkingFolderSafetyTest, ATemporaryFolderBehindALinkIsTheSame) {
  share();
  fs::create_directory_symlink(temporary_, folder_ / "Link");
  files_.placeWorkingFolders({}, QuillonURL::fileURL((fs::canonical(folder_.path()) / "Link").string()));

  EXPECT_TRUE(isOutOfOthersReach(fs::canonical(folder_.path()) / "Link/Example"));
  EXPECT_TRUE(isOutOfOthersReach(temporary_ / "Example"));
  ASSERT_EQ(chmod((temporary_ / "Example").c_str(), 0777), 0);
  EXPECT_FALSE(isOutOfOthersReach(fs::canonical(folder_.path()) / "Link/Example"));
  EXPECT_FALSE(isOutOfOthersReach(temporary_ / "Example"));
}

TEST_F(VeskUpdateWorkingFolderSafetyTest, FoldersElsewhereAreTheUsersAffair) {
  fs::create_directories(folder_ / "Support/Example");
  ASSERT_EQ(chmod((folder_ / "Support/Example").c_str(), 0777), 0);

  EXPECT_TRUE(isOutOfOthersReach(fs::canonical(folder_.path()) / "Support/Example"));
}

}  // namespace
}  // namespace quillon
