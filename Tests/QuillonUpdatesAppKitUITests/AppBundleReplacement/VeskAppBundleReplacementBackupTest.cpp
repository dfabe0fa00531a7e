#include <gtest/gtest.h>

#include <filesystem>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementBackup.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::makeApplicationBundle;
using testing::versionOfApplicationBundle;

class VeskAppBundleReplacementBackupTest : public ::testing::Test {
 protected:
  VeskAppBundleReplacementBackupTest() { makeApplicationBundle(installed, {.version = "1.0"}); }

  testing::TemporaryDirectory folder;
  fs::path installed = folder / "Example.app";
  std::shared_ptr<const QuillonFileManaging> files = std::make_shared<QuillonPosixFileManager>();
};

TEST_F(VeskAppBundleReplacementBackupTest, GoesBackByItselfAndThrowsOutWhatTookItsPlace) {
  {
    VeskAppBundleReplacementBackup backup(files, QuillonURL::fileURL(installed.string()));
    backup.moveAside();
    EXPECT_EQ(versionOfApplicationBundle(installed), "none");
    EXPECT_EQ(versionOfApplicationBundle(backup.url().path()), "1.0");
    makeApplicationBundle(installed, {.version = "2.0"});
  }

  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
}

TEST_F(VeskAppBundleReplacementBackupTest, IsGoneOnceItIsRemoved) {
  {
    VeskAppBundleReplacementBackup backup(files, QuillonURL::fileURL(installed.string()));
    backup.moveAside();
    makeApplicationBundle(installed, {.version = "2.0"});
    backup.remove();
  }

  EXPECT_EQ(versionOfApplicationBundle(installed), "2.0");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
}

TEST_F(VeskAppBundleReplacementBackupTest, WithoutABackupTheInstalledBundleIsNeverRemoved) {
  VeskAppBundleReplacementBackup backup(files, QuillonURL::fileURL(installed.string()));

  EXPECT_THROW(backup.restore(), QuillonError);

  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
}

TEST_F(VeskAppBundleReplacementBackupTest, WhatInterruptedReplacementsLeftIsRemovedBesideAnInstalledBundleOnly) {
  const std::string name = "Example.app.vesk-update-backup-11111111-1111-4111-8111-111111111111";
  fs::create_directory(folder / name);
  fs::create_directory(folder / "Example.app.vesk-update-backup-mine");
  fs::create_directory(folder / "Other.app.vesk-update-backup-11111111-1111-4111-8111-111111111111");
  const QuillonURL url = QuillonURL::fileURL(installed.string());
  fs::rename(installed, folder / "aside");
  EXPECT_TRUE(VeskAppBundleReplacementBackup::removeLeftBehind(*files, url).empty());
  fs::rename(folder / "aside", installed);

  EXPECT_EQ(VeskAppBundleReplacementBackup::removeLeftBehind(*files, url), std::vector{name});

  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 3);
}

TEST_F(VeskAppBundleReplacementBackupTest, NothingIsBroughtBackOverAnInstalledBundle) {
  fs::create_directory(folder / "Example.app.vesk-update-backup-11111111-1111-4111-8111-111111111111");
  std::string log;

  VeskAppBundleReplacementBackup::recoverInterruptedReplacement(*files, QuillonURL::fileURL(installed.string()),
                                                                [&log](std::string_view line) { log += line; });

  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
  EXPECT_EQ(log, "");
}

TEST_F(VeskAppBundleReplacementBackupTest, OtherNamesAreNoBackups) {
  fs::remove_all(installed);
  for (const char* name : {"Example.app.vesk-update-backup-", "Example.app.vesk-update-backup-x",
                           "Other.app.vesk-update-backup-11111111-1111-4111-8111-111111111111"}) {
    fs::create_directory(folder / name);
  }

  VeskAppBundleReplacementBackup::recoverInterruptedReplacement(*files, QuillonURL::fileURL(installed.string()),
                                                                [](std::string_view) {});

  EXPECT_EQ(versionOfApplicationBundle(installed), "none");
}

}  // namespace
}  // namespace quillon
