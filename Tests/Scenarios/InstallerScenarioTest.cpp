// The installer command as a child process, on signed bundles and real processes.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "CodeSignature/CodeSigner.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReport.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/ReplacementRequestBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::makeApplicationBundle;
using testing::makeReplacementRequest;
using testing::readFile;
using testing::versionOfApplicationBundle;
using testing::writeFile;

constexpr uid_t kOther = 65534;  // "nobody", present on every Debian system

/// Two signed versions whose executable tells a named pipe who it runs as.
class InstallerScenario : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(mkfifo(started.c_str(), 0666), 0);
    ASSERT_EQ(chmod(started.c_str(), 0666), 0);  // whatever the umask is
    ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
    makeSigned(installed, "1.0", "1");
    makeSigned(staged, "2.0", "2");
    // Open for both ends, so that neither an application nor the test waits for the other in vain.
    pipe_ = open(started.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK);
    ASSERT_GE(pipe_, 0);
  }
  void TearDown() override { close(pipe_); }

  void makeSigned(const fs::path& bundle, const std::string& version, const std::string& build) const {
    makeApplicationBundle(bundle, {.version = version, .build = build});
    const fs::path executable = bundle / "Contents/MacOS/Example";
    writeFile(executable, "#!/bin/sh\necho \"" + version +
                              " uid=$(id -u) gid=$(id -g) groups=$(id -G) home=$HOME\" > " + started.string() + "\n");
    fs::permissions(executable, fs::perms(0755));
    signCode(QuillonURL::fileURL(bundle.string()), {});
  }

  [[nodiscard]] VeskAppBundleReplacementRequest request() const {
    VeskAppBundleReplacementRequest request = makeReplacementRequest(staged, installed);
    request.launchUserContext = launchUser;
    request.failureReportURL = QuillonURL::fileURL(report.string());
    return request;
  }

  [[nodiscard]] static std::string command(const std::string& name) {
    return std::string(QUILLON_BINARY_FOLDER) + "/" + name;
  }

  /// Runs the installer to its end.
  QuillonProcessResult install(std::int32_t host = 0) const {
    return QuillonPosixProcessRunner().run(command("QuillonUpdateInstaller"), request().helperArguments(host));
  }

  /// Nobody, where the tests run as root.
  [[nodiscard]] static uid_t ordinaryUser() { return geteuid() == 0 ? kOther : geteuid(); }

  void giveEverythingToTheOrdinaryUser() const {
    if (geteuid() != 0) return;
    for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
      ASSERT_EQ(lchown(entry.path().c_str(), kOther, kOther), 0);
    }
    ASSERT_EQ(lchown(folder.path().c_str(), kOther, kOther), 0);
  }

  /// Runs the installer as an ordinary user, who may not be able to enter the folder of the build.
  [[nodiscard]] QuillonProcessResult installAsOrdinaryUser() const {
    if (geteuid() != 0) return install();
    const fs::path tools = folder / "bin";
    fs::create_directory(tools);
    for (const char* name : {"QuillonUpdateInstaller", "quillon-codesign"}) fs::copy_file(command(name), tools / name);
    std::vector<std::string> words = {"--reuid=65534", "--regid=65534", "--clear-groups",
                                      (tools / "QuillonUpdateInstaller").string()};
    const std::vector<std::string> arguments = request().helperArguments(0);
    words.insert(words.end(), arguments.begin(), arguments.end());
    return QuillonPosixProcessRunner().run("/usr/bin/setpriv", words);
  }

  /// Starts the installer; its process identifier.
  [[nodiscard]] pid_t startInstaller(std::int32_t host, const fs::path& tools = QUILLON_BINARY_FOLDER) const {
    std::vector<std::string> words = request().helperArguments(host);
    words.insert(words.begin(), (tools / "QuillonUpdateInstaller").string());
    const pid_t child = fork();
    if (child != 0) return child;
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    execv(pointers.front(), pointers.data());
    _exit(127);
  }

  /// Waits until the installer has taken the place of the test's own image and sleeps between two probes.
  static void waitUntilItRuns(pid_t installer) {
    const fs::path process = fs::path("/proc") / std::to_string(installer);
    for (std::string name, state; !name.starts_with("QuillonUpdate") || state != "S";) {
      std::ifstream status(process / "stat");
      std::getline(status.ignore(64, '('), name, ')');
      status >> state;
      ASSERT_NE(state, "Z") << "the installer did not wait for its host";
    }
  }

  [[nodiscard]] static int waitFor(pid_t child) {
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  /// The next line that a started application wrote; waits for it.
  [[nodiscard]] std::string nextStart() const {
    std::string line;
    for (;;) {
      pollfd waiting{.fd = pipe_, .events = POLLIN, .revents = 0};
      if (poll(&waiting, 1, 20'000) != 1) return "nothing was started";
      char c = 0;
      while (read(pipe_, &c, 1) == 1) {
        if (c == '\n') return line;
        line += c;
      }
    }
  }

  [[nodiscard]] std::string reportedError() const {
    return VeskAppBundleUpdateFailureReport::decoded(readFile(report)).errorDescription;
  }

  [[nodiscard]] std::vector<std::string> destinationNames() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(installed.parent_path())) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  testing::TemporaryDirectory folder;
  fs::path installed = folder / "Applications/Example.app";
  fs::path staged = folder / "Staging/Example.app";
  fs::path report = folder / "Reports/QuillonUpdateInstallerFailure.plist";
  fs::path started = folder / "started";
  std::optional<VeskAppBundleLaunchdUserContext> launchUser;

 private:
  int pipe_ = -1;
};

TEST_F(InstallerScenario, WithoutArgumentsItNamesTheFirstThatIsMissing) {
  const QuillonProcessResult result = QuillonPosixProcessRunner().run(command("QuillonUpdateInstaller"), {});

  EXPECT_EQ(result,
            (QuillonProcessResult{
                .status = 1, .output = "QuillonUpdateInstaller failed: Missing required argument: --staged-app\n"}));
}

TEST_F(InstallerScenario, ASignedBundleReplacesTheInstalledOneAndIsStarted) {
  const QuillonProcessResult result = install();

  EXPECT_EQ(result, (QuillonProcessResult{.status = 0, .output = ""}));
  EXPECT_THAT(nextStart(), ::testing::StartsWith("2.0 uid=" + std::to_string(geteuid())));
  EXPECT_EQ(versionOfApplicationBundle(installed), "2.0");
  EXPECT_THAT(destinationNames(), ElementsAre("Example.app"));
  EXPECT_FALSE(fs::exists(staged.parent_path()));
  EXPECT_FALSE(fs::exists(report));
}

TEST_F(InstallerScenario, ATamperedBundleIsRefusedReportedAndTheOldOneStarted) {
  writeFile(staged / "Contents/Resources/version.txt", "evil");

  const QuillonProcessResult result = install();

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("QuillonUpdateInstaller failed: signatureValidationFailed\n"));
  EXPECT_EQ(reportedError(), "signatureValidationFailed");
  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
  EXPECT_THAT(nextStart(), ::testing::StartsWith("1.0 "));
  EXPECT_THAT(destinationNames(), ElementsAre("Example.app"));
}

TEST_F(InstallerScenario, ARelaunchThatFailsBringsTheOldBundleBackAndStartsIt) {
  fs::permissions(staged / "Contents/MacOS/Example", fs::perms(0644));
  giveEverythingToTheOrdinaryUser();

  const QuillonProcessResult result = installAsOrdinaryUser();

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("QuillonUpdateInstaller failed: relaunchFailed\n"));
  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
  EXPECT_EQ(reportedError(), "relaunchFailed");
  EXPECT_THAT(nextStart(), ::testing::StartsWith("1.0 "));
  EXPECT_THAT(destinationNames(), ElementsAre("Example.app"));
}

TEST_F(InstallerScenario, ItWaitsAsLongAsTheHostRuns) {
  const pid_t host = fork();
  if (host == 0) {
    pause();
    _exit(0);
  }
  const pid_t installer = startInstaller(host);

  waitUntilItRuns(installer);
  EXPECT_EQ(waitpid(installer, nullptr, WNOHANG), 0);
  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
  kill(host, SIGKILL);
  ASSERT_EQ(waitpid(host, nullptr, 0), host);

  EXPECT_EQ(waitFor(installer), 0);
  EXPECT_EQ(versionOfApplicationBundle(installed), "2.0");
}

TEST_F(InstallerScenario, AHostOfAnotherUserIsWaitedForToo) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can start a process of another user";
  // The installer runs as nobody, the host as root: signalling it fails with EPERM, and yet it lives.
  const pid_t host = fork();
  if (host == 0) {
    pause();
    _exit(0);
  }
  const fs::path copy = folder / "QuillonUpdateInstaller";
  fs::copy_file(command("QuillonUpdateInstaller"), copy);
  std::vector<std::string> words = request().helperArguments(host);
  words.insert(words.begin(), copy.string());
  const pid_t installer = fork();
  if (installer == 0) {
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    if (setgid(kOther) == 0 && setuid(kOther) == 0) execv(pointers.front(), pointers.data());
    _exit(127);
  }

  waitUntilItRuns(installer);
  // It is ended by the signal, and so was still waiting: a swap would have put the signal off.
  kill(installer, SIGTERM);
  EXPECT_EQ(waitFor(installer), 128 + SIGTERM);
  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
  kill(host, SIGKILL);
  ASSERT_EQ(waitpid(host, nullptr, 0), host);
}

TEST_F(InstallerScenario, ForALaunchUserTheApplicationStartsAsThatUserWithItsGroupsAndHome) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can start an application as somebody else";
  launchUser = VeskAppBundleLaunchdUserContext{kOther, kOther, "nobody", "/nonexistent"};

  const QuillonProcessResult result = install();

  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_EQ(nextStart(), "2.0 uid=65534 gid=65534 groups=65534 home=/nonexistent");
}

TEST_F(InstallerScenario, AReportForALaunchUserBelongsToThatUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  launchUser = VeskAppBundleLaunchdUserContext{kOther, kOther, "nobody", "/nonexistent"};
  writeFile(staged / "Contents/Resources/version.txt", "evil");

  const QuillonProcessResult result = install();

  EXPECT_EQ(result.status, 1);
  struct stat status {};
  ASSERT_EQ(stat(report.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, kOther);
  EXPECT_EQ(status.st_gid, kOther);
  EXPECT_THAT(nextStart(), HasSubstr("1.0 uid=65534"));
}

TEST_F(InstallerScenario, AnOrdinaryUserReplacesABundleOfItsOwn) {
  giveEverythingToTheOrdinaryUser();

  const QuillonProcessResult result = installAsOrdinaryUser();

  EXPECT_EQ(result, (QuillonProcessResult{.status = 0, .output = ""}));
  EXPECT_EQ(versionOfApplicationBundle(installed), "2.0");
  EXPECT_THAT(nextStart(), HasSubstr("2.0 uid=" + std::to_string(ordinaryUser())));
  struct stat status {};
  ASSERT_EQ(stat((installed / "Contents/Info.plist").c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, ordinaryUser());
}

TEST_F(InstallerScenario, AnOrdinaryUserCannotReplaceABundleInAFolderOfRoot) {
  if (geteuid() != 0) GTEST_SKIP() << "needs a folder of another user";

  const QuillonProcessResult result = installAsOrdinaryUser();

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("QuillonUpdateInstaller failed: destinationNotWritable\n"));
  EXPECT_EQ(versionOfApplicationBundle(installed), "1.0");
}

TEST_F(InstallerScenario, ABundleThatAKilledInstallerMovedAsideIsBackAfterTheNextRun) {
  fs::rename(installed, folder / "Applications/Example.app.vesk-update-backup-3F2504E0-4F89-41D3-9A0C-0305E82C3301");

  const QuillonProcessResult result = install();

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("brought back the backup of an interrupted replacement"));
  EXPECT_EQ(versionOfApplicationBundle(installed), "2.0");
  EXPECT_THAT(destinationNames(), ElementsAre("Example.app"));
}

TEST_F(InstallerScenario, RequestsToTerminateThatComeDuringTheReplacementDoNotEndIt) {
  // A signing tool that says when it is asked, and answers when it is told to: by then the replacement has begun.
  const fs::path tools = folder / "bin";
  const fs::path asked = folder / "asked";
  const fs::path answer = folder / "answer";
  fs::create_directory(tools);
  fs::copy_file(command("QuillonUpdateInstaller"), tools / "QuillonUpdateInstaller");
  for (const char* name : {"quillon-open", "quillon-launchctl"}) fs::copy_file(command(name), tools / name);
  writeFile(tools / "quillon-codesign",
            "#!/bin/sh\necho > " + asked.string() + "\nread line < " + answer.string() + "\nexit 0\n");
  fs::permissions(tools / "quillon-codesign", fs::perms(0755));
  ASSERT_EQ(mkfifo(asked.c_str(), 0666), 0);
  ASSERT_EQ(mkfifo(answer.c_str(), 0666), 0);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    const pid_t installer = startInstaller(0, tools);

    // An ordinary user validates once, root its own copy once more.
    for (int validation = 0; validation < (geteuid() == 0 ? 2 : 1); ++validation) {
      EXPECT_EQ(readFile(asked), "\n");
      kill(installer, signal);
      writeFile(answer, "\n");
    }

    EXPECT_EQ(waitFor(installer), 0) << signal;
    EXPECT_EQ(versionOfApplicationBundle(installed), "2.0");
    fs::remove_all(installed);
    makeSigned(installed, "1.0", "1");
    makeSigned(staged, "2.0", "2");
  }
}

TEST_F(InstallerScenario, AReaderOfStandardErrorThatGoesAwayEndsNothing) {
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  close(pipe[0]);
  const pid_t child = fork();
  if (child == 0) {
    dup2(pipe[1], STDERR_FILENO);
    execl(command("QuillonUpdateInstaller").c_str(), "QuillonUpdateInstaller", nullptr);
    _exit(127);
  }
  close(pipe[1]);

  EXPECT_EQ(waitFor(child), 1);
}

}  // namespace
}  // namespace quillon
