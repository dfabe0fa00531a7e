#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementExecutor.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/ReplacementWorld.h"
#include "Support/ScopedMount.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::ApplicationBundleDescription;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::makeApplicationBundle;
using testing::ReplacementWorld;
using testing::ScopedMount;
using ::testing::SizeIs;
using ::testing::StartsWith;
using testing::writeFile;

class FixedPermission final : public VeskAppBundleReplacementPermissionChecking {
 public:
  [[nodiscard]] bool destinationParentIsWritable(const QuillonURL&) const noexcept override { return false; }
};

class FailingOwnership final : public VeskAppBundleReplacementOwnershipMatching {
 public:
  [[nodiscard]] bool processCanMatchInstalledOwnership(const QuillonURL&) const noexcept override { return false; }
  void matchOwnerAndGroupOfItem(const QuillonURL&, const QuillonURL&) const override {
    throw VeskUpdateInstallerError::replacementFailed();
  }
};

TEST(VeskAppBundleReplacementExecutorTest, SwapsTheBundlesRelaunchesAndLeavesNothingElse) {
  ReplacementWorld world;

  const auto result = world.makeExecutor().executeReplacement(world.request());

  EXPECT_EQ(world.installedVersion(), "2.0");
  EXPECT_THAT(world.destinationNames(), ElementsAre("Example.app"));
  EXPECT_FALSE(fs::exists(world.staged.parent_path()));
  ASSERT_THAT(world.relauncher->relaunched, SizeIs(1));
  EXPECT_EQ(world.relauncher->relaunched[0].second, "2.0");
  EXPECT_EQ(result.installedApplicationURL.path(), world.installed.string());
  EXPECT_THAT(result.backupApplicationURL.path(),
              ::testing::MatchesRegex(".*/Applications/Example\\.app\\.vesk-update-backup-"
                                      "[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}"));
}

TEST(VeskAppBundleReplacementExecutorTest, TwoReplacementsNeverShareABackupName) {
  ReplacementWorld first;
  ReplacementWorld second;

  const auto a = first.makeExecutor().executeReplacement(first.request());
  const auto b = second.makeExecutor().executeReplacement(second.request());

  EXPECT_NE(a.backupApplicationURL.lastPathComponent(), b.backupApplicationURL.lastPathComponent());
}

TEST(VeskAppBundleReplacementExecutorTest, AStagingFolderWithOtherItemsStays) {
  ReplacementWorld world;
  writeFile(world.staged.parent_path() / "other", "x");

  EXPECT_EQ(world.replace(), std::nullopt);

  EXPECT_TRUE(fs::exists(world.staged.parent_path() / "other"));
}

TEST(VeskAppBundleReplacementExecutorTest, RequestWithoutHostIdentitySkipsValidation) {
  ReplacementWorld world;
  auto request = world.request();
  request.hostIdentity.reset();
  world.validator->onValidation = [](int, const QuillonURL&) { throw VeskUpdateInstallerError::invalidArchive(); };

  EXPECT_EQ(world.replace(request), std::nullopt);

  EXPECT_THAT(world.validator->validated, IsEmpty());
  EXPECT_EQ(world.installedVersion(), "2.0");
}

TEST(VeskAppBundleReplacementExecutorTest, ARejectedBundleChangesNothingAndTheOldOneIsRelaunched) {
  ReplacementWorld world;
  world.validator->onValidation = [](int, const QuillonURL&) { throw VeskUpdateInstallerError::invalidArchive(); };

  EXPECT_EQ(world.replace(), VeskUpdateInstallerError::invalidArchive());

  EXPECT_EQ(world.installedVersion(), "1.0");
  EXPECT_EQ(world.stagedVersion(), "2.0");
  EXPECT_EQ(world.files->changes(), 0);
  ASSERT_THAT(world.relauncher->relaunched, SizeIs(1));
  EXPECT_EQ(world.relauncher->relaunched[0].second, "1.0");
}

TEST(VeskAppBundleReplacementExecutorTest, FailedRelaunchPutsTheOldBundleBackAndRelaunchesIt) {
  ReplacementWorld world;
  world.relauncher->answer = false;

  EXPECT_EQ(world.replace(), VeskUpdateInstallerError::relaunchFailed());

  EXPECT_EQ(world.installedVersion(), "1.0");
  EXPECT_THAT(world.destinationNames(), ElementsAre("Example.app"));
  ASSERT_THAT(world.relauncher->relaunched, SizeIs(2));
  EXPECT_EQ(world.relauncher->relaunched[0].second, "2.0");
  EXPECT_EQ(world.relauncher->relaunched[1].second, "1.0");
}

struct UnfitBundle {
  std::string name;
  std::function<void(ReplacementWorld&)> arrange;
};

class VeskAppBundleReplacementExecutorUnfitTest : public ::testing::TestWithParam<UnfitBundle> {};

TEST_P(VeskAppBundleReplacementExecutorUnfitTest, EndsWithReplacementFailedAndTouchesNothing) {
  ReplacementWorld world;
  GetParam().arrange(world);

  EXPECT_EQ(world.replace(), VeskUpdateInstallerError::replacementFailed());

  EXPECT_EQ(world.files->changes(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Bundles, VeskAppBundleReplacementExecutorUnfitTest,
    ::testing::Values(UnfitBundle{"StagedMissing", [](ReplacementWorld& world) { fs::remove_all(world.staged); }},
                      UnfitBundle{"StagedIsALink",
                                  [](ReplacementWorld& world) {
                                    fs::rename(world.staged, world.folder / "Real.app");
                                    fs::create_directory_symlink(world.folder / "Real.app", world.staged);
                                  }},
                      UnfitBundle{"StagedIsAFile",
                                  [](ReplacementWorld& world) {
                                    fs::remove_all(world.staged);
                                    writeFile(world.staged, "x");
                                  }},
                      UnfitBundle{"StagedHasAnotherExtension",
                                  [](ReplacementWorld& world) {
                                    const fs::path other = world.folder / "Staging/Example.bundle";
                                    fs::rename(world.staged, other);
                                    world.staged = other;
                                  }},
                      UnfitBundle{"InstalledMissing", [](ReplacementWorld& world) { fs::remove_all(world.installed); }},
                      UnfitBundle{"InstalledIsAFile",
                                  [](ReplacementWorld& world) {
                                    fs::remove_all(world.installed);
                                    writeFile(world.installed, "x");
                                  }}),
    [](const auto& unfit) { return unfit.param.name; });

TEST(VeskAppBundleReplacementExecutorTest, ANonWritableDestinationNeedsAPrivilegedProcess) {
  ReplacementWorld world;
  world.permission = std::make_shared<FixedPermission>();

  EXPECT_EQ(world.replace(), VeskUpdateInstallerError::destinationNotWritable());
  EXPECT_EQ(world.installedVersion(), "1.0");

  world.privilege->answer = true;
  EXPECT_EQ(world.replace(), std::nullopt);
  EXPECT_EQ(world.installedVersion(), "2.0");
}

TEST(VeskAppBundleReplacementExecutorTest, AnOwnershipFailureIsRaisedUnchangedBeforeAnythingIsMoved) {
  ReplacementWorld world;
  world.ownership = std::make_shared<FailingOwnership>();

  EXPECT_EQ(world.replace(), VeskUpdateInstallerError::replacementFailed());

  EXPECT_EQ(world.installedVersion(), "1.0");
  EXPECT_EQ(world.stagedVersion(), "2.0");
}

TEST(VeskAppBundleReplacementExecutorTest, AnItemThatKeepsItsQuarantineMarkIsReportedInOneLineAndTheSwapGoesOn) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may make a file immutable";
  ReplacementWorld world;
  const fs::path item = world.staged / "Contents/Resources/version.txt";
  if (setxattr(item.c_str(), "user.com.apple.quarantine", "q", 1, 0) != 0) GTEST_SKIP() << "no attributes here";
  const testing::ScopedImmutable immutable(item);
  if (!immutable) GTEST_SKIP() << "this volume has no immutable files";

  const auto error = world.replace();

  EXPECT_EQ(error, std::nullopt);
  EXPECT_THAT(world.log, ElementsAre("Failed to release quarantine at " + world.staged.string() +
                                     "; firstFailedItem=" + item.string() + " error=EPERM (Operation not permitted)"));
  EXPECT_EQ(world.installedVersion(), "2.0");
  testing::clearImmutable(world.installed / "Contents/Resources/version.txt");
}

TEST(VeskAppBundleReplacementExecutorTest, QuarantineOfACopyIsReportedWithTheStagedPaths) {
  ReplacementWorld world;
  world.privilege->answer = true;
  // The copy is not immutable, so its mark comes off by itself; the failure is injected.
  int quarantine = 0;
  for (int change = 1; change < 20 && quarantine == 0; ++change) {
    ReplacementWorld probe;
    probe.privilege->answer = true;
    probe.files->failChange(change, EIO);
    (void)probe.replace();
    if (!probe.log.empty() && probe.log.front().starts_with("Failed to release")) quarantine = change;
  }
  ASSERT_GT(quarantine, 0);
  world.files->failChange(quarantine, EIO);

  EXPECT_EQ(world.replace(), std::nullopt);

  EXPECT_THAT(world.log, ElementsAre("Failed to release quarantine at " + world.staged.string() +
                                     "; firstFailedItem=" + world.staged.string() + " error=EIO (Input/output error)"));
}

TEST(VeskAppBundleReplacementExecutorTest, NamesComposedAndDecomposedAreKeptAsTheyAre) {
  for (const std::string name : {"Caf\u00E9.app", "Cafe\u0301.app"}) {
    ReplacementWorld world;
    const fs::path installed = world.installed.parent_path() / name;
    fs::rename(world.installed, installed);
    world.installed = installed;

    EXPECT_EQ(world.replace(), std::nullopt);

    EXPECT_THAT(world.destinationNames(), ElementsAre(name));
    EXPECT_EQ(world.installedVersion(), "2.0");
  }
}

// Every road of a swap: a rename, a privileged copy, and a copy from another volume.
enum class Road { rename, privilegedCopy, otherVolume };

class VeskAppBundleReplacementExecutorRoadTest : public ::testing::TestWithParam<Road> {
 protected:
  /// False when this machine cannot provide the road.
  [[nodiscard]] static bool arrangeRoad(ReplacementWorld& world, std::unique_ptr<ScopedMount>& mount) {
    if (GetParam() == Road::privilegedCopy) world.privilege->answer = true;
    if (GetParam() != Road::otherVolume) return true;
    const fs::path volume = world.folder / "Volume";
    fs::create_directory(volume);
    mount = std::make_unique<ScopedMount>(volume, "size=8m");
    if (!*mount) return false;
    fs::remove_all(world.staged);
    world.staged = volume / "Example.app";
    makeApplicationBundle(world.staged, {.version = "2.0", .build = "2"});
    return true;
  }
};

TEST_P(VeskAppBundleReplacementExecutorRoadTest, SwapsTheBundlesAndLeavesNothingElse) {
  const auto world = std::make_unique<ReplacementWorld>();
  std::unique_ptr<ScopedMount> mount;  // unmounted before its folder is removed
  if (!arrangeRoad(*world, mount)) GTEST_SKIP() << "only root may mount a volume";

  EXPECT_EQ(world->replace(), std::nullopt) << ::testing::PrintToString(world->log);

  EXPECT_EQ(world->installedVersion(), "2.0");
  EXPECT_THAT(world->destinationNames(), ElementsAre("Example.app"));
  EXPECT_EQ(world->stagedVersion(), "none");
}

TEST_P(VeskAppBundleReplacementExecutorRoadTest, AnySingleFileFailureLeavesACompleteInstalledApplication) {
  for (int change = 1; change < 100; ++change) {
    SCOPED_TRACE(change);
    const auto world = std::make_unique<ReplacementWorld>();
    std::unique_ptr<ScopedMount> mount;  // unmounted before its folder is removed
    if (!arrangeRoad(*world, mount)) GTEST_SKIP() << "only root may mount a volume";
    world->files->failChange(change, EIO);

    const auto error = world->replace();

    EXPECT_EQ(world->installedVersion(), error ? "1.0" : "2.0");
    ASSERT_FALSE(world->relauncher->relaunched.empty());
    EXPECT_EQ(world->relauncher->relaunched.back().second, world->installedVersion());
    if (!world->files->didFail()) return;  // the sweep has passed every change
  }
  FAIL() << "no run completed without a fault";
}

TEST_P(VeskAppBundleReplacementExecutorRoadTest, AFailedSwapLeavesNoHalfCopy) {
  const auto world = std::make_unique<ReplacementWorld>();
  std::unique_ptr<ScopedMount> mount;  // unmounted before its folder is removed
  if (!arrangeRoad(*world, mount)) GTEST_SKIP() << "only root may mount a volume";
  world->relauncher->answer = false;

  EXPECT_EQ(world->replace(), VeskUpdateInstallerError::relaunchFailed());

  EXPECT_THAT(world->destinationNames(), ElementsAre("Example.app"));
  EXPECT_EQ(world->installedVersion(), "1.0");
}

TEST_P(VeskAppBundleReplacementExecutorRoadTest, AKillAfterAnyChangeLeavesABundleOrItsBackupAndTheNextRunRecovers) {
  for (int change = 1; change < 100; ++change) {
    SCOPED_TRACE(change);
    const auto world = std::make_unique<ReplacementWorld>();
    std::unique_ptr<ScopedMount> mount;  // unmounted before its folder is removed
    if (!arrangeRoad(*world, mount)) GTEST_SKIP() << "only root may mount a volume";
    world->files->afterChange(change, [] { raise(SIGKILL); });

    const pid_t child = fork();
    if (child == 0) {
      (void)world->replace();
      _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    const bool wasKilled = WIFSIGNALED(status);

    const std::string version = world->installedVersion();
    std::string backupVersion = "none";
    for (const std::string& name : world->destinationNames()) {
      if (name.find(".vesk-update-backup-") != std::string::npos) {
        backupVersion = testing::versionOfApplicationBundle(world->installed.parent_path() / name);
      }
    }
    if (version == "none") {
      EXPECT_EQ(backupVersion, "1.0");
    } else {
      EXPECT_TRUE(version == "1.0" || version == "2.0") << version;
    }

    ReplacementWorld next;
    next.installed = world->installed;
    fs::remove_all(next.staged);
    EXPECT_EQ(next.replace(), VeskUpdateInstallerError::replacementFailed());
    EXPECT_EQ(next.installedVersion(), version == "none" ? "1.0" : version);
    for (const std::string& name : world->destinationNames()) {
      EXPECT_EQ(name.find(".vesk-update-work-"), std::string::npos) << name;
    }
    if (version == "none") {
      EXPECT_THAT(next.log, Contains(HasSubstr("brought back the backup")));
    }
    if (!wasKilled) return;  // the sweep has passed every change
  }
  FAIL() << "no run completed without a kill";
}

INSTANTIATE_TEST_SUITE_P(Roads, VeskAppBundleReplacementExecutorRoadTest,
                         ::testing::Values(Road::rename, Road::privilegedCopy, Road::otherVolume),
                         [](const auto& road) {
                           switch (road.param) {
                             case Road::rename:
                               return "Rename";
                             case Road::privilegedCopy:
                               return "PrivilegedCopy";
                             case Road::otherVolume:
                               return "OtherVolume";
                           }
                           return "Unknown";
                         });

TEST(VeskAppBundleReplacementExecutorTest, TheLatestOfSeveralBackupsIsBroughtBack) {
  ReplacementWorld world;
  const fs::path folder = world.installed.parent_path();
  fs::rename(world.installed, folder / "Example.app.vesk-update-backup-11111111-1111-4111-8111-111111111111");
  makeApplicationBundle(folder / "x.app", {.version = "1.5"});
  fs::rename(folder / "x.app", folder / "Example.app.vesk-update-backup-00000000-1111-4111-8111-111111111111");
  writeFile(folder / "Example.app.vesk-update-backup-FFFFFFFF-1111-4111-8111-111111111111", "a file is no backup");
  fs::create_symlink("nowhere", folder / "Example.app.vesk-update-backup-EEEEEEEE-1111-4111-8111-111111111111");
  fs::remove_all(world.staged);

  EXPECT_EQ(world.replace(), VeskUpdateInstallerError::replacementFailed());

  EXPECT_EQ(world.installedVersion(), "1.5");
}

TEST(VeskAppBundleReplacementExecutorTest, ABackupThatAKilledReplacementLeftGoesWithTheNextThatSucceeds) {
  ReplacementWorld world;
  const fs::path left =
      world.installed.parent_path() / "Example.app.vesk-update-backup-11111111-1111-4111-8111-111111111111";
  makeApplicationBundle(left, {.version = "0.9"});
  world.relauncher->answer = false;
  EXPECT_EQ(world.replace(), VeskUpdateInstallerError::relaunchFailed());
  EXPECT_EQ(testing::versionOfApplicationBundle(left), "0.9");
  world.relauncher->answer = true;
  makeApplicationBundle(world.staged, {.version = "2.0", .build = "2"});

  EXPECT_EQ(world.replace(), std::nullopt);

  EXPECT_EQ(world.installedVersion(), "2.0");
  EXPECT_THAT(world.destinationNames(), ElementsAre("Example.app"));
}

TEST(VeskAppBundleReplacementExecutorTest, AVolumeThatOnlyTheRenameTellsApartIsCopiedFrom) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may mount a volume";
  ReplacementWorld world;
  // A bind mount has the device of its source, and yet nothing can be renamed out of it.
  const fs::path mountPoint = world.folder / "Bound";
  fs::create_directory(mountPoint);
  const ScopedMount mount(mountPoint, world.staged.parent_path(), ScopedMount::Bind{});
  if (!mount) GTEST_SKIP() << "cannot bind-mount here";
  world.staged = mountPoint / "Example.app";

  EXPECT_EQ(world.replace(), std::nullopt);

  EXPECT_EQ(world.installedVersion(), "2.0");
  EXPECT_THAT(world.destinationNames(), ElementsAre("Example.app"));
}

TEST(VeskAppBundleReplacementExecutorTest, AFullVolumeLeavesTheOldBundleAndNoHalfCopy) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may mount a volume";
  ReplacementWorld world;
  const fs::path volume = world.folder / "Small";
  fs::create_directory(volume);
  const ScopedMount mount(volume, "size=256k");
  if (!mount) GTEST_SKIP() << "cannot mount a volume here";
  world.installed = volume / "Example.app";
  makeApplicationBundle(world.installed, {.version = "1.0"});
  writeFile(world.staged / "Contents/Resources/large", std::string(std::size_t{1} << 20, 'x'));

  EXPECT_EQ(world.replace(), VeskUpdateInstallerError::replacementFailed());

  EXPECT_EQ(world.installedVersion(), "1.0");
  EXPECT_THAT(world.destinationNames(), ElementsAre("Example.app"));
  EXPECT_EQ(world.stagedVersion(), "2.0");
}

TEST(VeskAppBundleReplacementExecutorTest, ADestinationThatIsAMountPointCannotBeMovedAside) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may mount a volume";
  ReplacementWorld world;
  fs::remove_all(world.installed);
  fs::create_directory(world.installed);
  const ScopedMount mount(world.installed, "size=1m");
  if (!mount) GTEST_SKIP() << "cannot mount a volume here";
  makeApplicationBundle(world.installed, {.version = "1.0"});

  EXPECT_EQ(world.replace(), VeskUpdateInstallerError::replacementFailed());

  EXPECT_EQ(world.installedVersion(), "1.0");
  EXPECT_THAT(world.destinationNames(), ElementsAre("Example.app"));
}

TEST(VeskAppBundleReplacementExecutorTest, ADestinationThatIsALinkIsReplacedItselfAndItsTargetStays) {
  ReplacementWorld world;
  fs::rename(world.installed, world.folder / "Real.app");
  fs::create_directory_symlink(world.folder / "Real.app", world.installed);

  EXPECT_EQ(world.replace(), std::nullopt);

  EXPECT_FALSE(fs::is_symlink(world.installed));
  EXPECT_EQ(world.installedVersion(), "2.0");
  EXPECT_EQ(testing::versionOfApplicationBundle(world.folder / "Real.app"), "1.0");
}

TEST(VeskAppBundleReplacementExecutorTest, AnImmutableInstalledBundleStaysAndIsRelaunched) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may make a folder immutable";
  ReplacementWorld world;
  const testing::ScopedImmutable immutable(world.installed);
  if (!immutable) GTEST_SKIP() << "this volume has no immutable items";

  EXPECT_EQ(world.replace(), VeskUpdateInstallerError::replacementFailed());

  EXPECT_EQ(world.installedVersion(), "1.0");
  EXPECT_EQ(world.stagedVersion(), "2.0");
}

TEST(VeskAppBundleReplacementExecutorTest, AnImmutableStagedBundleLeavesTheOldOne) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may make a folder immutable";
  ReplacementWorld world;
  const testing::ScopedImmutable immutable(world.staged);
  if (!immutable) GTEST_SKIP() << "this volume has no immutable items";

  EXPECT_EQ(world.replace(), VeskUpdateInstallerError::replacementFailed());

  EXPECT_EQ(world.installedVersion(), "1.0");
  EXPECT_THAT(world.destinationNames(), ElementsAre("Example.app"));
}

TEST(VeskAppBundleReplacementExecutorTest, APrivilegedSwapValidatesItsOwnCopyOnceMore) {
  ReplacementWorld world;
  world.privilege->answer = true;
  const fs::path resource = world.staged / "Contents/Resources/version.txt";
  world.validator->onValidation = [&](int number, const QuillonURL& bundle) {
    // The stager changes its bundle after the first validation, and again while the copy is validated.
    if (number == 1) writeFile(resource, "evil");
    if (number == 2) {
      EXPECT_EQ(testing::versionOfApplicationBundle(bundle.path()), "evil");
      throw VeskUpdateInstallerError::signatureValidationFailed();
    }
  };

  EXPECT_EQ(world.replace(), VeskUpdateInstallerError::signatureValidationFailed());

  EXPECT_EQ(world.installedVersion(), "1.0");
  EXPECT_THAT(world.destinationNames(), ElementsAre("Example.app"));
}

TEST(VeskAppBundleReplacementExecutorTest, AnOpenFileOfTheStagedBundleDoesNotReachTheInstalledOne) {
  ReplacementWorld world;
  world.privilege->answer = true;
  std::ofstream held(world.staged / "Contents/Resources/version.txt", std::ios::in | std::ios::out);

  EXPECT_EQ(world.replace(), std::nullopt);
  held << "evil" << std::flush;

  EXPECT_EQ(world.installedVersion(), "2.0");
}

TEST(VeskAppBundleReplacementExecutorTest, AFolderSwappedInJustBeforeTheMoveIsNotWhatGetsInstalled) {
  ReplacementWorld world;
  world.privilege->answer = true;
  // Someone who may write beside the installed bundle exchanges the work folder, whatever it is called.
  world.validator->onValidation = [&](int number, const QuillonURL&) {
    if (number != 2) return;
    for (const std::string& name : world.destinationNames()) {
      if (name.find(".vesk-update-work-") == std::string::npos) continue;
      const fs::path work = world.installed.parent_path() / name;
      fs::rename(work, world.folder / "stolen");
      makeApplicationBundle(work / "Example.app", {.version = "evil"});
    }
  };

  EXPECT_EQ(world.replace(), std::nullopt);

  EXPECT_EQ(world.installedVersion(), "2.0");
}

TEST(VeskAppBundleReplacementExecutorTest, WhatIsNotTheValidatedFolderIsThrownOutAgain) {
  ReplacementWorld world;
  // The unprivileged road moves by name: exchange the staged bundle right before the second move.
  int moves = 0;
  for (int change = 1; change < 20 && moves == 0; ++change) {
    ReplacementWorld probe;
    bool atSecondMove = false;
    probe.files->beforeChange(change, [&] { atSecondMove = !fs::exists(probe.installed) && fs::exists(probe.staged); });
    (void)probe.replace();
    if (atSecondMove) moves = change;
  }
  ASSERT_GT(moves, 0);
  world.files->beforeChange(moves, [&] {
    fs::rename(world.staged, world.folder / "validated.app");
    makeApplicationBundle(world.staged, {.version = "evil"});
  });

  EXPECT_EQ(world.replace(), VeskUpdateInstallerError::signatureValidationFailed());

  EXPECT_EQ(world.installedVersion(), "1.0");
}

TEST(VeskAppBundleReplacementExecutorTest, AnErrorThatIsNoSystemErrorBringsTheBackupBackToo) {
  ReplacementWorld world;
  int armed = 0;
  for (int change = 1; change < 20 && armed == 0; ++change) {
    ReplacementWorld probe;
    bool betweenMoves = false;
    probe.files->beforeChange(change, [&] { betweenMoves = !fs::exists(probe.installed); });
    (void)probe.replace();
    if (betweenMoves) armed = change;
  }
  ASSERT_GT(armed, 0);
  world.files->beforeChange(armed, [] { throw std::bad_alloc(); });

  EXPECT_THROW((void)world.makeExecutor().executeReplacement(world.request()), std::bad_alloc);

  EXPECT_EQ(world.installedVersion(), "1.0");
  ASSERT_THAT(world.relauncher->relaunched, SizeIs(1));
  EXPECT_EQ(world.relauncher->relaunched[0].second, "1.0");
}

}  // namespace
}  // namespace quillon
