// A user races a privileged installer: whatever is exchanged between two of its steps, nothing outside is touched.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <functional>
#include <thread>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdateInstaller/QuillonUpdateInstallerFailureRecorder.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/ReplacementWorld.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::makeApplicationBundle;
using testing::readFile;
using testing::ReplacementWorld;
using testing::versionOfApplicationBundle;
using testing::writeFile;

constexpr uid_t kAttacker = 65534;

/// Exchanges two names as fast as it can, as the attacker, from another process.
class Racer {
 public:
  Racer(const fs::path& first, const fs::path& second) : process_(fork()) {
    if (process_ != 0) return;
    if (setgid(kAttacker) != 0 || setuid(kAttacker) != 0) _exit(1);
    for (;;) syscall(SYS_renameat2, AT_FDCWD, first.c_str(), AT_FDCWD, second.c_str(), RENAME_EXCHANGE);
  }
  ~Racer() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  Racer(const Racer&) = delete;
  Racer& operator=(const Racer&) = delete;

 private:
  pid_t process_;
};

class RacingAttackScenario : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root has rights to be abused";
    ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
    fs::create_directory(home);
    give(home);
    writeFile(victim / "precious", "untouched");
    fs::permissions(victim, fs::perms(0700));
  }

  static void give(const fs::path& item) { ASSERT_EQ(lchown(item.c_str(), kAttacker, kAttacker), 0); }
  static void giveTree(const fs::path& tree) {
    give(tree);
    for (const auto& entry : fs::recursive_directory_iterator(tree)) give(entry.path());
  }

  void expectVictimUntouched() const {
    EXPECT_EQ(readFile(victim / "precious"), "untouched");
    EXPECT_EQ(std::distance(fs::directory_iterator(victim), {}), 1);
    struct stat status {};
    ASSERT_EQ(stat((victim / "precious").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 0U);
    ASSERT_EQ(stat(victim.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 0U);
  }

  static constexpr int kRounds = 300;
  static constexpr int kMostRounds = 100'000;  // where the racer gets too little time
  testing::TemporaryDirectory folder;
  fs::path home = folder / "home";
  fs::path victim = folder / "victim";
};

TEST_F(RacingAttackScenario, AReportFolderThatTurnsIntoALinkLeadsNoReportOut) {
  fs::create_directory(home / "Reports");
  fs::create_directory_symlink(victim, home / "link");
  give(home / "Reports");
  give(home / "link");
  const auto files = std::make_shared<QuillonPosixFileManager>();
  const auto privilege = std::make_shared<testing::FakePrivilegeChecker>();
  privilege->answer = true;
  const QuillonUpdateInstallerFailureRecorder recorder(
      files, privilege, [] { return QuillonUpdateInstallerFailureRecorder::TimePoint{}; });
  auto arguments = QuillonUpdateInstallerArguments::parse({"--staged-app", "/s/A.app", "--installed-app", "/i/A.app",
                                                           "--host-pid", "0", "--bundle-id", "x", "--app-version", "1",
                                                           "--app-build", "1", "--allows-same-build-replacement", "0"});
  arguments.launchUserContext = VeskAppBundleLaunchdUserContext{kAttacker, kAttacker, "nobody", home.string()};
  arguments.failureReportURL = QuillonURL::fileURL((home / "Reports/new/Report.plist").string());
  int refused = 0;
  int written = 0;

  const Racer racer(home / "Reports", home / "link");
  for (int round = 0; round < kMostRounds && (refused < 20 || written < 20); ++round) {
    try {
      recorder.recordFailureReportIfPossible("why", arguments);
      ++written;
    } catch (const QuillonSystemError&) {
      ++refused;
    }
  }

  if (refused == 0) GTEST_SKIP() << "nothing was exchanged on this volume";
  EXPECT_GT(written, 0);
  expectVictimUntouched();
}

TEST_F(RacingAttackScenario, AReportThatTurnsIntoALinkGivesNothingAway) {
  fs::create_directory(home / "Reports");
  fs::create_symlink(victim / "precious", home / "Reports/link");
  writeFile(home / "Reports/Report.plist", "the user's own");
  giveTree(home / "Reports");
  const QuillonPosixFileManager files;
  const QuillonURL report = QuillonURL::fileURL((home / "Reports/Report.plist").string());
  int refused = 0;
  int changed = 0;

  const Racer racer(home / "Reports/Report.plist", home / "Reports/link");
  for (int round = 0; round < kMostRounds && (refused < 20 || changed < 20); ++round) {
    try {
      changed += files.changeOwnerOfFile(report, kAttacker, kAttacker, 100, [](std::string_view) { return true; });
    } catch (const QuillonSystemError&) {
      ++refused;
    }
  }

  if (refused == 0) GTEST_SKIP() << "nothing was exchanged on this volume";
  EXPECT_GT(changed, 0);
  expectVictimUntouched();
}

TEST_F(RacingAttackScenario, AFolderThatTurnsIntoALinkWhileItIsRemovedTakesNothingElseAlong) {
  const QuillonPosixFileManager files;
  for (int round = 0; round < kRounds; ++round) {
    const fs::path tree = home / "tree";
    for (const char* name : {"a", "b", "c", "d"}) writeFile(tree / "sub" / name, "");
    fs::create_directory_symlink(victim, home / "link");
    giveTree(tree);
    give(home / "link");

    {
      const Racer racer(tree / "sub", home / "link");
      try {
        files.removeItem(QuillonURL::fileURL(tree.string()));
      } catch (const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): giving up is as good as removing
      }
    }

    for (const char* name : {"tree", "link"}) fs::remove_all(home / name);
    expectVictimUntouched();
    if (::testing::Test::HasFailure()) return;
  }
}

TEST_F(RacingAttackScenario, AFolderThatTurnsIntoALinkWhileOwnersAreChangedGivesNothingElseAway) {
  const QuillonPosixFileManager files;
  const fs::path tree = home / "tree";
  for (const char* name : {"a", "b", "c", "d"}) writeFile(tree / "sub" / name, "");
  fs::create_directory_symlink(victim, home / "link");
  giveTree(tree);
  give(home / "link");

  const Racer racer(tree / "sub", home / "link");
  for (int round = 0; round < kRounds; ++round) {
    try {
      files.changeOwnerOfDescendants(QuillonURL::fileURL(tree.string()), kAttacker, kAttacker + (round & 1));
    } catch (const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): giving up is as good as changing
    }
  }

  expectVictimUntouched();
}

TEST_F(RacingAttackScenario, AStagedBundleThatIsExchangedAllTheTimeIsInstalledAsValidatedOrNotAtAll) {
  int installed = 0;
  int refused = 0;
  for (int round = 0; round < 40; ++round) {
    ReplacementWorld world;
    ASSERT_EQ(chmod(world.folder.path().c_str(), 0755), 0);
    const fs::path evil = world.staged.parent_path() / "Evil.app";
    makeApplicationBundle(evil, {.version = "evil"});
    giveTree(world.staged.parent_path());
    world.privilege->answer = true;
    world.validator->onValidation = [](int, const QuillonURL& bundle) {
      if (versionOfApplicationBundle(bundle.path()) != "2.0") {
        throw VeskUpdateInstallerError::signatureValidationFailed();
      }
    };

    {
      const Racer racer(world.staged, evil);
      world.replace() ? ++refused : ++installed;
    }

    EXPECT_THAT(world.installedVersion(), ::testing::AnyOf("1.0", "2.0"));
    EXPECT_EQ(world.destinationNames().size(), 1U);
  }
  EXPECT_EQ(installed + refused, 40);
}

}  // namespace
}  // namespace quillon
