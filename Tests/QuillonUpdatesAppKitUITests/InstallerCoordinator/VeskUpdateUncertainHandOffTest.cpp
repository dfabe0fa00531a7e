#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonUUID.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateUncertainHandOff.h"
#include "Support/FaultInjectingFileManager.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

class VeskUpdateUncertainHandOffTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directory(working_);
    fs::create_directory(folder_ / "Temporary");
    fs::permissions(working_, fs::perms::owner_all);  // whatever the umask says
    files_.placeWorkingFolders({}, QuillonURL::fileURL((folder_ / "Temporary").string()));
  }
  /// The folder of an attempt, with something in it.
  fs::path makeAttempt() const {
    fs::path attempt = working_ / makeUUIDString();
    testing::writeFile(attempt / "Example.app" / "part", "");
    return attempt;
  }
  void mark(const fs::path& attempt) const {
    VeskUpdateUncertainHandOff::mark(files_, QuillonURL::fileURL(attempt.string()));
  }
  void removeMarkedFolders() const {
    VeskUpdateUncertainHandOff::removeMarkedFolders(files_, QuillonURL::fileURL(working_.string()));
  }

  const testing::TemporaryDirectory folder_;
  const fs::path working_ = folder_ / "Working";
  testing::FaultInjectingFileManager files_{std::make_shared<const QuillonPosixFileManager>()};
};

TEST_F(VeskUpdateUncertainHandOffTest, OnlyMarkedFoldersAreRemovedAndTheirMarksWithThem) {
  const fs::path marked = makeAttempt();
  const fs::path other = makeAttempt();
  mark(marked);
  EXPECT_TRUE(fs::exists(marked));

  removeMarkedFolders();

  EXPECT_FALSE(fs::exists(marked));
  EXPECT_TRUE(fs::exists(other));
  EXPECT_EQ(std::distance(fs::directory_iterator(working_), {}), 1);
}

TEST_F(VeskUpdateUncertainHandOffTest, TheMarkOfAFolderThatAnInstallerTookIsRemovedToo) {
  const fs::path taken = makeAttempt();
  mark(taken);
  fs::remove_all(taken);

  removeMarkedFolders();

  EXPECT_TRUE(fs::is_empty(working_));
}

TEST_F(VeskUpdateUncertainHandOffTest, AMarkForAnythingButAnAttemptIsNone) {
  testing::writeFile(working_ / "Documents" / "precious", "");
  mark(working_ / "Documents");
  testing::writeFile(working_ / ".handed-over-", "");

  removeMarkedFolders();

  EXPECT_TRUE(fs::exists(working_ / "Documents" / "precious"));
}

TEST_F(VeskUpdateUncertainHandOffTest, WhatCannotBeRemovedIsLeftForTheNextTime) {
  const fs::path marked = makeAttempt();
  mark(marked);
  files_.failChangesBelow(QuillonURL::fileURL(working_.string()), EIO);
  removeMarkedFolders();
  EXPECT_TRUE(fs::exists(marked));
  files_.failChangesBelow(QuillonURL::fileURL("/nowhere"), EIO);

  removeMarkedFolders();

  EXPECT_TRUE(fs::is_empty(working_));
}

TEST_F(VeskUpdateUncertainHandOffTest, InATemporaryFolderMarksThatAnotherUserCanHaveMadeAreNone) {
  files_.placeWorkingFolders({}, QuillonURL::fileURL(folder_.path().string()));
  const fs::path marked = makeAttempt();
  mark(marked);
  ASSERT_EQ(chmod(folder_.path().c_str(), 01777), 0);
  ASSERT_EQ(chmod(working_.c_str(), 0777), 0);

  removeMarkedFolders();

  EXPECT_TRUE(fs::exists(marked));
}

TEST_F(VeskUpdateUncertainHandOffTest, AFolderThatCannotBeMarkedStays) {
  const fs::path attempt = makeAttempt();
  files_.failChangesBelow(QuillonURL::fileURL(working_.string()), ENOSPC);

  mark(attempt);

  EXPECT_TRUE(fs::exists(attempt));
}

TEST_F(VeskUpdateUncertainHandOffTest, AWorkingFolderThatIsNotThereHoldsNone) {
  VeskUpdateUncertainHandOff::removeMarkedFolders(files_, QuillonURL::fileURL("/missing/folder"));

  EXPECT_FALSE(fs::exists("/missing"));
}

}  // namespace
}  // namespace quillon
