#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "QuillonTool/Update/UpdateFailure.h"
#include "QuillonTool/Update/UpdateInstallation.h"
#include "QuillonToolTests/Update/UpdateCommandWorld.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using LaunchResult = VeskAppBundleReplacementLaunchResult;
using Progress = VeskAppBundleInstallerLaunchProgress;
using Result = UpdateOutcome::Result;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

class UpdateInstallationTest : public ::testing::Test {
 protected:
  /// "launched" and the like, "cancelled", or what the failure says, with its code.
  std::string install() {
    std::string outcome;
    const std::string end = world_.callStep([&](const ApplicationSession& session) {
      try {
        outcome = name(installUpdate(session, entry_, "release-2.0"));
      } catch (const UpdateFailure& error) {
        outcome = error.code() + ": " + error.description();
      }
    });
    return outcome.empty() ? end : outcome;
  }

  void offerInstallerDocument() {
    entry_.erase("app-installer");
    entry_.emplace("installer", QuillonPropertyListValue("https://example.org/Installer.zip"));
    entry_.emplace("installer-name", QuillonPropertyListValue("Install.pkg"));
  }

  testing::UpdateStepWorld world_;
  QuillonPropertyListValue::Dictionary entry_ =
      testing::UpdateCommandWorld::dictionaryOf(testing::UpdateCommandWorld::offer());
};

TEST_F(UpdateInstallationTest, TheApplicationIsHandedToItsInstaller) {
  EXPECT_EQ(install(), "launched");

  ASSERT_THAT(world_.world.replacementLauncher->requests, SizeIs(1));
  const VeskAppBundleReplacementRequest& request = world_.world.replacementLauncher->requests.front();
  EXPECT_EQ(request.installedApplicationURL.path(), world_.bundle.string());
  EXPECT_EQ(request.hostIdentity->bundleIdentifier, "org.example.App");
  EXPECT_EQ(request.hostIdentity->applicationVersion, "1.0");
  EXPECT_EQ(request.hostIdentity->applicationBuild, 1);
  EXPECT_EQ(request.hostIdentity->expectedTeamIdentifier, "TEAM123456");
  const auto attempt = world_.memory().attempt();
  ASSERT_TRUE(attempt);
  EXPECT_EQ(request.failureReportAttemptIdentifier, attempt->identifier);
  EXPECT_EQ(attempt->fromVersion, "1.0");
  EXPECT_EQ(attempt->toVersion, "2.0");
  EXPECT_THAT(world_.world.network->requested, ElementsAre(testing::UpdateCommandWorld::archiveURL));
}

TEST_F(UpdateInstallationTest, EveryStepIsShown) {
  (void)install();

  EXPECT_THAT(world_.printed(), HasSubstr("Downloading update…\n"));
  EXPECT_THAT(world_.printed(), HasSubstr("Extracting update…\nVerifying update…\nReady to Install  100 %\n"
                                          "  1) Install and Relaunch\n  2) Cancel\nPreparing to install…\n"));
}

TEST_F(UpdateInstallationTest, WhoDeclinesAtTheEndKeepsTheOldVersionAndNothingElse) {
  world_.answering = UpdateAnswering::byNobody;

  EXPECT_EQ(install(), "offered");

  EXPECT_THAT(world_.world.replacementLauncher->requests, IsEmpty());
  EXPECT_FALSE(world_.memory().attempt());
  EXPECT_FALSE(fs::exists(world_.world.support / "Example"));
}

TEST_F(UpdateInstallationTest, AStopLeavesNothing) {
  world_.world.network->afterReports = [this] { world_.stopSource.request_stop(); };

  EXPECT_EQ(install(), "cancelled");

  EXPECT_FALSE(world_.memory().attempt());
  EXPECT_FALSE(fs::exists(world_.world.support / "Example"));
}

TEST_F(UpdateInstallationTest, TheApplicationIsWaitedForBeforeTheInstallerIsLaunched) {
  int looks = 0;
  world_.processes->answer = [&](const QuillonURL&) {
    return ++looks < 3 ? std::vector<ApplicationProcess>{{.identifier = 5, .name = "Example"}}
                       : std::vector<ApplicationProcess>();
  };

  EXPECT_EQ(install(), "launched");

  EXPECT_EQ(looks, 3);
  EXPECT_THAT(world_.printed(),
              HasSubstr("Example is still running. Waiting until it has quit: process 5 (Example)\n"));
}

TEST_F(UpdateInstallationTest, AnApplicationThatStaysKeepsItsVersion) {
  world_.options.quitLimit = std::chrono::seconds(0);
  world_.processes->answer = [](const QuillonURL&) {
    return std::vector<ApplicationProcess>{{.identifier = 5, .name = "Example"}};
  };

  EXPECT_EQ(
      install(),
      "applicationRuns: Example did not quit: process 5 (Example). Nothing was changed. Quit it and try again, or "
      "wait longer with --wait.");

  EXPECT_THAT(world_.world.replacementLauncher->requests, IsEmpty());
  EXPECT_FALSE(world_.memory().attempt());
}

TEST_F(UpdateInstallationTest, WhoWaitsForTheApplicationCanGiveUp) {
  world_.processes->answer = [](const QuillonURL&) {
    return std::vector<ApplicationProcess>{{.identifier = 5, .name = "Example"}};
  };
  world_.onPause = [this](const std::stop_token&) { world_.stopSource.request_stop(); };

  EXPECT_EQ(install(), "cancelled");

  EXPECT_THAT(world_.world.replacementLauncher->requests, IsEmpty());
}

TEST_F(UpdateInstallationTest, AnIncompleteCopyIsToldBeforeAnythingIsDownloaded) {
  fs::remove_all(world_.bundle / "Contents/XPCServices");
  EXPECT_THAT(install(), StartsWith("replacementHelperUnavailable: Example cannot replace itself: "));

  fs::remove(world_.bundle / "Contents/MacOS/QuillonUpdateInstaller");
  EXPECT_THAT(install(), HasSubstr("/Contents/MacOS/QuillonUpdateInstaller is missing."));

  EXPECT_THAT(world_.world.network->requested, IsEmpty());
}

TEST_F(UpdateInstallationTest, AFailureHasTheTextsOfItsAlertAndThePageOfTheUpdate) {
  world_.world.unzipper->content = [](const auto&, const auto&) { return false; };

  EXPECT_EQ(
      install(),
      "unzipFailed: Update Failed: The downloaded archive cannot be unpacked: it is damaged or no zip archive, or "
      "the disk is full. (unzipFailed) More about this update: https://example.org/notes.html");

  EXPECT_FALSE(world_.memory().attempt());
}

TEST_F(UpdateInstallationTest, AFailedDownloadIsToldAsOne) {
  world_.world.network->answers[testing::UpdateCommandWorld::archiveURL] = [](const auto&, const auto&) {
    return testing::FakeInstallerNetworkClient::deliver(QuillonURL::fileURL("/"), "", 404);
  };

  EXPECT_THAT(install(), StartsWith("downloadFailed: Download Failed: The update cannot be downloaded"));
}

TEST_F(UpdateInstallationTest, EveryLaunchResultIsExplained) {
  const VeskAppBundleInstallerFailureDiagnostic diagnostic{.phase = VeskAppBundleInstallerLaunchPhase::jobSubmission,
                                                           .errorDomain = {},
                                                           .errorCode = {},
                                                           .errorDescription = "why"};
  struct Case {
    LaunchResult result;
    std::string beginning;
    std::string text;
    bool mayHaveBeenLaunched = false;
  };
  const std::vector<Case> table = {
      {LaunchResult::launchFailed(diagnostic), "replacementHelperLaunchFailed: Update Failed: ", "description=why"},
      {LaunchResult::protocolFailure(diagnostic), "replacementHelperProtocolFailure: ", "which the next run shows",
       true},
      {LaunchResult::timedOut(VeskAppBundleInstallerLaunchPhase::xpcReply),
       "replacementHelperLaunchTimedOut: ", "took too long", true},
      {LaunchResult::authorizationDenied(-60005), "authorizationDenied: ", "An administrator has to allow this update"},
      {LaunchResult::authorizationCancelled(-60006),
       "authorizationCancelled: Update Canceled: ", "It will be offered again"},
      {LaunchResult::helperUnavailable(), "replacementHelperUnavailable: ", "Install it again by hand"}};

  for (const Case& each : table) {
    world_.world.replacementLauncher->answer = each.result;
    const std::string failure = install();
    EXPECT_THAT(failure, StartsWith(each.beginning));
    EXPECT_THAT(failure, HasSubstr(each.text));
    EXPECT_EQ(world_.memory().attempt().has_value(), each.mayHaveBeenLaunched) << each.beginning;
  }
}

TEST_F(UpdateInstallationTest, ARefusalOfTheAdministratorIsRemembered) {
  world_.world.replacementLauncher->answer = LaunchResult::authorizationDenied(-60005);
  world_.world.replacementLauncher->events = {Progress::authorizationRequired({})};

  (void)install();

  EXPECT_EQ(world_.memory().refusedIdentifier(), "release-2.0");
  EXPECT_THAT(world_.printed(), HasSubstr("An administrator has to allow this update.\n"));
}

TEST_F(UpdateInstallationTest, AnInstallerDocumentIsOpenedWhereThereIsNoApplication) {
  offerInstallerDocument();
  world_.answering = UpdateAnswering::byKeys;
  world_.world.unzipper->content = [](const fs::path& destination, const auto&) {
    testing::writeFile(destination / "Install.pkg", "document");
    return true;
  };

  EXPECT_EQ(install(), "installerOpened");

  EXPECT_THAT(world_.world.launcher->opened, ElementsAre(HasSubstr("/Install.pkg")));
  EXPECT_FALSE(world_.memory().attempt());
}

TEST_F(UpdateInstallationTest, AnInstallerDocumentIsOpenedForNobodyWhoWasNotAsked) {
  offerInstallerDocument();

  EXPECT_EQ(install(), "offered");

  EXPECT_THAT(world_.printed(), HasSubstr("download the installer and open it: https://example.org/Installer.zip\n"));
  EXPECT_THAT(world_.world.network->requested, IsEmpty());
  EXPECT_THAT(world_.world.launcher->opened, IsEmpty());
}

TEST_F(UpdateInstallationTest, TheVersionOfAnInstallerDocumentBeginsNoLineOfItsOwn) {
  offerInstallerDocument();
  entry_.insert_or_assign("current", QuillonPropertyListValue("2.0\n  1) Install"));

  EXPECT_EQ(install(), "offered");

  EXPECT_THAT(world_.printed(), HasSubstr("Version 2.0   1) Install comes as an installer"));
}

TEST_F(UpdateInstallationTest, AnEntryWithoutAnyArchiveIsThePublishersMistake) {
  entry_.erase("app-installer");

  EXPECT_THAT(install(), StartsWith("missingArchiveURL: Download Failed: The feed does not say where"));
}

}  // namespace
}  // namespace quillon
