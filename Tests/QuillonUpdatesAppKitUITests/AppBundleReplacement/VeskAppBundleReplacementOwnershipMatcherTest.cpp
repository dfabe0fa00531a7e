#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <memory>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementOwnershipMatcher.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "Support/FaultInjectingFileManager.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::writeFile;

struct Owner {
  uid_t user;
  gid_t group;
  friend bool operator==(const Owner&, const Owner&) = default;
};

/// The system's file manager with a temporary folder of the test's own.
class RelocatedFileManager final : public QuillonPosixFileManager {
 public:
  explicit RelocatedFileManager(const fs::path& folder) : folder_(QuillonURL::fileURL(folder.string())) {}
  [[nodiscard]] QuillonURL temporaryDirectory() const override { return folder_; }

 private:
  QuillonURL folder_;
};

class VeskAppBundleReplacementOwnershipMatcherTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
    fs::create_directory(folder / "reference");
    writeFile(folder / "root/sub/.hidden", "");
    writeFile(folder / "outside", "");
    fs::create_symlink("../outside", folder / "root/link");
  }

  void give(const std::string& item, Owner owner) const {
    ASSERT_EQ(lchown((folder / item).c_str(), owner.user, owner.group), 0);
  }
  [[nodiscard]] Owner ownerOf(const std::string& item) const {
    struct stat status {};
    EXPECT_EQ(lstat((folder / item).c_str(), &status), 0);
    return {status.st_uid, status.st_gid};
  }
  void match() const {
    VeskAppBundleReplacementOwnershipMatcher(files).matchOwnerAndGroupOfItem(
        QuillonURL::fileURL((folder / "root").string()), QuillonURL::fileURL((folder / "reference").string()));
  }

  testing::TemporaryDirectory folder;
  std::shared_ptr<testing::FaultInjectingFileManager> files = std::make_shared<testing::FaultInjectingFileManager>(
      std::make_shared<RelocatedFileManager>(folder / "temporary"));
};

TEST_F(VeskAppBundleReplacementOwnershipMatcherTest, TheWholeTreeTakesTheReferencesOwnerAndGroup) {
  give("reference", {1000, 2000});

  match();

  for (const char* item : {"root", "root/sub", "root/sub/.hidden", "root/link"}) {
    EXPECT_EQ(ownerOf(item), (Owner{1000, 2000})) << item;
  }
}

TEST_F(VeskAppBundleReplacementOwnershipMatcherTest, ALinksTargetKeepsItsOwner) {
  give("reference", {1000, 2000});

  match();

  EXPECT_EQ(ownerOf("outside"), (Owner{0, 0}));
}

TEST_F(VeskAppBundleReplacementOwnershipMatcherTest, ARootThatHasBothAlreadyIsLeftAloneWithItsChildren) {
  give("root/sub", {7, 7});

  match();

  EXPECT_EQ(ownerOf("root/sub"), (Owner{7, 7}));
  EXPECT_EQ(files->changes(), 0);
}

TEST_F(VeskAppBundleReplacementOwnershipMatcherTest, ARootOfTheRightOwnerIsForgivenItsGroup) {
  give("reference", {0, 2000});
  files->failChange(1, EPERM);

  match();

  EXPECT_EQ(ownerOf("root"), (Owner{0, 0}));
  EXPECT_EQ(ownerOf("root/sub"), (Owner{0, 0}));
  EXPECT_EQ(files->changes(), 1);
}

TEST_F(VeskAppBundleReplacementOwnershipMatcherTest, ARootThatKeepsItsGroupStillGivesItsItemsTheReferences) {
  give("reference", {1000, 2000});
  give("root", {0, 50});
  files->failChange(1, EPERM);

  match();

  EXPECT_EQ(ownerOf("root"), (Owner{1000, 50}));
  EXPECT_EQ(ownerOf("root/sub/.hidden"), (Owner{1000, 2000}));
}

TEST_F(VeskAppBundleReplacementOwnershipMatcherTest, AnItemThatCannotBeChangedRaisesReplacementFailed) {
  give("reference", {1000, 2000});
  files->failChange(2, EPERM);

  try {
    match();
    FAIL() << "no error";
  } catch (const VeskUpdateInstallerError& error) {
    EXPECT_EQ(error, VeskUpdateInstallerError::replacementFailed());
  }
}

TEST_F(VeskAppBundleReplacementOwnershipMatcherTest, AMissingReferenceIsRaisedAsItComes) {
  fs::remove(folder / "reference");

  try {
    match();
    FAIL() << "no error";
  } catch (const QuillonSystemError& error) {
    EXPECT_TRUE(error.isPOSIX(ENOENT));
  }
}

TEST_F(VeskAppBundleReplacementOwnershipMatcherTest, RootCanMatchAnyOwnershipAndLeavesNoScratch) {
  give("reference", {1000, 2000});
  EXPECT_TRUE(VeskAppBundleReplacementOwnershipMatcher(files).processCanMatchInstalledOwnership(
      QuillonURL::fileURL((folder / "reference").string())));

  EXPECT_TRUE(fs::is_empty(folder / "temporary"));
}

TEST_F(VeskAppBundleReplacementOwnershipMatcherTest, AnyFailureOfTheTrialAnswersFalse) {
  give("reference", {1000, 2000});
  const VeskAppBundleReplacementOwnershipMatcher matcher(files);
  const QuillonURL reference = QuillonURL::fileURL((folder / "reference").string());

  EXPECT_FALSE(matcher.processCanMatchInstalledOwnership(QuillonURL::fileURL((folder / "none").string())));
  for (int change = 1; change <= 2; ++change) {
    files->failChange(files->changes() + change, EACCES);
    EXPECT_FALSE(matcher.processCanMatchInstalledOwnership(reference)) << change;
  }
}

}  // namespace
}  // namespace quillon
