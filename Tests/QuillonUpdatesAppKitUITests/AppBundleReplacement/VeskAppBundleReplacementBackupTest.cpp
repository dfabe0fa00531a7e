#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

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

TEST_F(VeskAppBundleReplacementBackupTest, AbandonedBackupsOfTheSameOwnerAreRemovedAndNothingElse) {
  makeApplicationBundle(folder / "Example.app.vesk-update-backup-11111111-1111-4111-8111-111111111111", {});
  makeApplicationBundle(folder / "Example.app.vesk-update-backup-22222222-1111-4111-8111-111111111111", {});
  makeApplicationBundle(folder / "Other.app.vesk-update-backup-11111111-1111-4111-8111-111111111111", {});
  testing::writeFile(folder / "Example.app.vesk-update-backup-33333333-1111-4111-8111-111111111111", "a file");
  fs::create_directory_symlink(installed,
                               folder / "Example.app.vesk-update-backup-44444444-1111-4111-8111-111111111111");
  const fs::path foreign = folder / "Example.app.vesk-update-backup-55555555-1111-4111-8111-111111111111";
  makeApplicationBundle(foreign, {});
  const bool isForeign = lchown(foreign.c_str(), 65534, 65534) == 0;

  const std::vector<std::string> removed =
      VeskAppBundleReplacementBackup::removeAbandonedBackups(*files, QuillonURL::fileURL(installed.string()));

  EXPECT_EQ(removed.size(), isForeign ? 2 : 3);
  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
  EXPECT_EQ(fs::exists(foreign), isForeign);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), isForeign ? 5 : 4);
}

TEST_F(VeskAppBundleReplacementBackupTest, WithoutAnInstalledBundleNoBackupIsRemoved) {
  const fs::path backup = folder / "Example.app.vesk-update-backup-11111111-1111-4111-8111-111111111111";
  fs::rename(installed, backup);

  EXPECT_TRUE(
      VeskAppBundleReplacementBackup::removeAbandonedBackups(*files, QuillonURL::fileURL(installed.string())).empty());

  EXPECT_EQ(versionOfApplicationBundle(backup), "1.0");
}

}  // namespace
}  // namespace quillon
