#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "QuillonUpdateInstaller/QuillonUpdateInstallerMain.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReport.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "Support/ReplacementWorld.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

class QuillonUpdateInstallerMainTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::vector<std::string> arguments() {
    VeskAppBundleReplacementRequest request = world.request();
    request.failureReportURL = QuillonURL::fileURL(report.string());
    request.launchUserContext = launchUser;
    return request.helperArguments(hostProcessIdentifier);
  }

  int execute(const std::vector<std::string>& words) {
    return QuillonUpdateInstallerMain({
                                          .fileManager = world.files,
                                          .privilegeChecker = world.privilege,
                                          .makeRelauncher =
                                              [this](const auto& user) {
                                                relaunchUsers.push_back(user);
                                                return world.relauncher;
                                              },
                                          .validator = world.validator,
                                          .processExists =
                                              [this](std::int32_t process) {
                                                probed.push_back(process);
                                                return probed.size() <= hostLives;
                                              },
                                          .sleep = [this](std::chrono::milliseconds time) { slept.push_back(time); },
                                          .now = [] { return QuillonUpdateInstallerServices::TimePoint{}; },
                                          .standardError = [this](std::string_view line) { lines.emplace_back(line); },
                                      })
        .execute(words);
  }

  testing::ReplacementWorld world;
  fs::path report = world.folder / "reports/QuillonUpdateInstallerFailure.plist";
  std::optional<VeskAppBundleLaunchdUserContext> launchUser;
  std::int32_t hostProcessIdentifier = 42;
  std::size_t hostLives = 0;  // probes that find the host alive
  std::vector<std::optional<VeskAppBundleLaunchdUserContext>> relaunchUsers;
  std::vector<std::int32_t> probed;
  std::vector<std::chrono::milliseconds> slept;
  std::vector<std::string> lines;
};

TEST_F(QuillonUpdateInstallerMainTest, ASuccessfulReplacementSaysNothingAndEndsWithZero) {
  EXPECT_EQ(execute(arguments()), 0);

  EXPECT_EQ(world.installedVersion(), "2.0");
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_FALSE(fs::exists(report));
}

TEST_F(QuillonUpdateInstallerMainTest, ABadCommandLineEndsWithOneLineAndOneAndNoReport) {
  EXPECT_EQ(execute({}), 1);

  EXPECT_THAT(lines, ElementsAre("QuillonUpdateInstaller failed: Missing required argument: --staged-app"));
  EXPECT_EQ(world.files->changes(), 0);
}

TEST_F(QuillonUpdateInstallerMainTest, TheHostIsPolledEveryQuarterOfASecondUntilItIsGone) {
  hostLives = 3;

  EXPECT_EQ(execute(arguments()), 0);

  EXPECT_THAT(probed, ElementsAre(42, 42, 42, 42));
  EXPECT_THAT(slept, ElementsAre(std::chrono::milliseconds(250), std::chrono::milliseconds(250),
                                 std::chrono::milliseconds(250)));
}

TEST_F(QuillonUpdateInstallerMainTest, AProcessIdentifierBelowOneIsNotWaitedFor) {
  for (const std::int32_t none : {0, -1}) {
    testing::ReplacementWorld fresh;
    world.installed = fresh.installed;
    world.staged = fresh.staged;
    hostProcessIdentifier = none;

    EXPECT_EQ(execute(arguments()), 0);
  }

  EXPECT_THAT(probed, IsEmpty());
}

TEST_F(QuillonUpdateInstallerMainTest, AFailedRelaunchLeavesTheOldBundleAReportAndOneLine) {
  world.relauncher->answer = false;

  EXPECT_EQ(execute(arguments()), 1);

  EXPECT_EQ(world.installedVersion(), "1.0");
  EXPECT_THAT(lines, ElementsAre("QuillonUpdateInstaller failed: relaunchFailed"));
  EXPECT_EQ(VeskAppBundleUpdateFailureReport::decoded(testing::readFile(report)).errorDescription, "relaunchFailed");
}

TEST_F(QuillonUpdateInstallerMainTest, AReportThatCannotBeWrittenIsSaidBeforeTheFailure) {
  world.relauncher->answer = false;
  testing::writeFile(world.folder / "file", "");
  report = world.folder / "file/report.plist";

  EXPECT_EQ(execute(arguments()), 1);

  EXPECT_THAT(lines, ElementsAre(StartsWith("QuillonUpdateInstaller could not record failure report: Cannot create"),
                                 "QuillonUpdateInstaller failed: relaunchFailed"));
}

TEST_F(QuillonUpdateInstallerMainTest, TheApplicationIsStartedForTheLaunchUser) {
  launchUser = VeskAppBundleLaunchdUserContext{501, 20, "ann", "/Users/ann"};

  EXPECT_EQ(execute(arguments()), 0);

  EXPECT_THAT(relaunchUsers, ElementsAre(launchUser));
}

TEST_F(QuillonUpdateInstallerMainTest, RequestsToTerminateWaitWhileTheSwapGoesOn) {
  bool wasBlocked = false;
  world.files->afterChange(2, [&wasBlocked] {
    sigset_t blocked{};
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    wasBlocked =
        sigismember(&blocked, SIGTERM) == 1 && sigismember(&blocked, SIGINT) == 1 && sigismember(&blocked, SIGHUP) == 1;
  });

  EXPECT_EQ(execute(arguments()), 0);

  EXPECT_TRUE(wasBlocked);
  sigset_t after{};
  pthread_sigmask(SIG_SETMASK, nullptr, &after);
  EXPECT_EQ(sigismember(&after, SIGTERM), 0);
}

TEST_F(QuillonUpdateInstallerMainTest, AnErrorOfAnyKindEndsTheSameWay) {
  world.validator->onValidation = [](int, const QuillonURL&) { throw std::runtime_error("out of the blue"); };

  EXPECT_EQ(execute(arguments()), 1);

  EXPECT_THAT(lines, ElementsAre("QuillonUpdateInstaller failed: out of the blue"));
  EXPECT_TRUE(fs::exists(report));
  EXPECT_EQ(world.installedVersion(), "1.0");
}

}  // namespace
}  // namespace quillon
