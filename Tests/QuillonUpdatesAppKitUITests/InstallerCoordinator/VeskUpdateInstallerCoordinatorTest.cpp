#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonURLError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerCoordinator.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/UpdateInstallationWorld.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using Code = VeskUpdateInstallerError::Code;
using Handler = VeskUpdateInstallerDownloadProgressHandler;
using LaunchResult = VeskAppBundleReplacementLaunchResult;
using Phase = VeskAppBundleInstallerLaunchPhase;
using testing::FakeInstallerNetworkClient;
using testing::makeApplicationBundle;
using testing::UpdateInstallationWorld;
using testing::writeFile;

const std::string kFirst = "https://example.org/first/Example.zip";
const std::string kSecond = "https://example.org/second/Example.zip";

const QuillonURL kSecondURL = *QuillonURL::parse(kSecond);

FakeInstallerNetworkClient::Answer status(std::int32_t code) {
  return [code](const Handler&, const std::stop_token&) {
    return FakeInstallerNetworkClient::deliver(kSecondURL, "page of status " + std::to_string(code), code);
  };
}

FakeInstallerNetworkClient::Answer transportError(QuillonURLErrorCode code) {
  return [code](const Handler&, const std::stop_token&) -> VeskUpdateInstallerDownload {
    throw QuillonURLError(code, "transport");
  };
}

VeskAppBundleInstallerFailureDiagnostic failureIn(Phase phase) {
  return {.phase = phase, .errorDomain = std::nullopt, .errorCode = std::nullopt, .errorDescription = ""};
}

class VeskUpdateInstallerCoordinatorTest : public ::testing::Test {
 protected:
  /// Makes the archive hold folders and files of these names, folders with a slash at the end.
  void archiveHolds(std::vector<std::string> names) {
    world_.unzipper->content = [names = std::move(names)](const fs::path& destination, const std::stop_token&) {
      for (const std::string& name : names) {
        if (name.ends_with('/')) {
          fs::create_directories(destination / name);
        } else {
          writeFile(destination / name, "");
          fs::permissions(destination / name, fs::perms::owner_read | fs::perms::owner_write);
        }
      }
      return true;
    };
  }

  std::string stagedApplication() const {
    return world_.replacementLauncher->requests.empty()
               ? ""
               : world_.replacementLauncher->requests.back().stagedApplicationURL.path();
  }

  UpdateInstallationWorld world_;
};

// Installer road

TEST_F(VeskUpdateInstallerCoordinatorTest, TheInstallerRoadOpensTheDocumentInTheUnpackedFolder) {
  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_THAT(world_.network->requested, ElementsAre(kFirst));
  EXPECT_THAT(world_.unzipper->archivePaths, ElementsAre(world_.support / "Example/Installer/Example.zip"));
  EXPECT_THAT(world_.unzipper->archiveContents, ElementsAre("archive"));
  EXPECT_THAT(world_.launcher->opened, ElementsAre(world_.support / "Example/Installer/Example.pkg"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, TheInstallerRoadShowsItsStatesInOrder) {
  world_.openWindow();

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_THAT(world_.windowRecord->states,
              ElementsAre("Downloading update… | Preparing download… | …", "Downloading update… | 0 B of 7 B | 0%",
                          "Downloading update… | 3 B of 7 B | 43%", "Downloading update… | 7 B of 7 B | 100%",
                          "Extracting update… | …", "Opening installer… | …"));
  EXPECT_FALSE(world_.windowRecord->wasUsedOffTheMainThread);
}

TEST_F(VeskUpdateInstallerCoordinatorTest, TheInstallerRoadLeavesTheUnpackedFolderWithoutTheArchive) {
  archiveHolds({"Example.pkg", "Read me.txt"});

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_THAT(world_.leftBehind(),
              ElementsAre("Support/Example", "Support/Example/Installer", "Support/Example/Installer/Example.pkg",
                          "Support/Example/Installer/Read me.txt"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ADocumentThatTheSystemDoesNotOpenIsLaunchFailed) {
  world_.launcher->answer = false;

  EXPECT_EQ(world_.install(world_.installerRequest()), "launchFailed");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnInstallerNameThatLeavesTheUnpackedFolderIsNotOpened) {
  for (const std::string name : {"../Example.pkg", "..", "/etc/passwd", "a/b", ""}) {
    VeskUpdateInstallerRequest request = world_.installerRequest();
    request.installerFileName = name;

    EXPECT_EQ(world_.install(request), "launchFailed") << name;
  }
  EXPECT_THAT(world_.launcher->opened, IsEmpty());
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnInstallerThatIsALinkOutOfTheUnpackedFolderIsNotOpened) {
  world_.unzipper->content = [](const fs::path& destination, const std::stop_token&) {
    fs::create_symlink("/etc/passwd", destination / "Example.pkg");
    return true;
  };

  EXPECT_EQ(world_.install(world_.installerRequest()), "launchFailed");

  EXPECT_THAT(world_.launcher->opened, IsEmpty());
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnInstallerThatIsALinkWithinTheUnpackedFolderIsOpened) {
  world_.unzipper->content = [](const fs::path& destination, const std::stop_token&) {
    writeFile(destination / "Real.pkg", "");
    fs::create_symlink("Real.pkg", destination / "Example.pkg");
    return true;
  };

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");
}

// Application bundle road

TEST_F(VeskUpdateInstallerCoordinatorTest, TheAppBundleRoadHandsTheStagedBundleToTheLauncher) {
  world_.userContext = VeskAppBundleLaunchdUserContext{
      .userIdentifier = 501, .groupIdentifier = 20, .userName = "anna", .homeDirectory = "/home/anna"};
  const VeskAppBundleUpdateRequest request = world_.appBundleRequest();

  EXPECT_EQ(world_.install(request), "done");

  ASSERT_THAT(world_.replacementLauncher->requests, SizeIs(1));
  const VeskAppBundleReplacementRequest& replacement = world_.replacementLauncher->requests.front();
  EXPECT_TRUE(fs::exists(replacement.stagedApplicationURL.path()));
  EXPECT_THAT(world_.validator->validated, ElementsAre(replacement.stagedApplicationURL));
  EXPECT_EQ(
      replacement,
      (VeskAppBundleReplacementRequest{
          .stagedApplicationURL = replacement.stagedApplicationURL,
          .installedApplicationURL = request.installedApplicationURL,
          .helperExecutableURL = request.helperExecutableURL,
          .hostIdentity = request.hostIdentity,
          .shouldRequestAuthorizationIfNeeded = true,
          .launchUserContext = world_.userContext,
          .failureReportURL = QuillonURL::fileURL(
              (world_.support / "org.example.App/SeamlessInstaller/QuillonUpdateInstallerFailure.plist").string()),
          .failureReportAttemptIdentifier = "attempt-1"}));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, TheAppBundleRoadShowsItsStatesInOrder) {
  world_.openWindow();

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");

  EXPECT_THAT(world_.windowRecord->states,
              ElementsAre("Downloading update… | Preparing download… | …", "Downloading update… | 0 B of 7 B | 0%",
                          "Downloading update… | 3 B of 7 B | 43%", "Downloading update… | 7 B of 7 B | 100%",
                          "Extracting update… | …", "Verifying update… | …", "Ready to Install | 100%",
                          "Ready to Install | 100% | [Install and Relaunch]", "Preparing to install… | …"));
  EXPECT_FALSE(world_.windowRecord->wasUsedOffTheMainThread);
  EXPECT_TRUE(world_.windowRecord->isDestroyed);
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AStartedInstallerFindsTheStagedBundleInAFolderOfItsOwn) {
  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");

  EXPECT_THAT(world_.leftBehind(), ElementsAre("Support/Example", "Support/Example/Update",
                                               "Support/Example/Update/UUID", "Support/Example/Update/UUID/Example.app",
                                               "Support/org.example.App", "Support/org.example.App/SeamlessInstaller"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, TwoAttemptsNeverShareAFolder) {
  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");
  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");

  EXPECT_NE(world_.replacementLauncher->requests.front().stagedApplicationURL,
            world_.replacementLauncher->requests.back().stagedApplicationURL);
}

TEST_F(VeskUpdateInstallerCoordinatorTest, WithoutAWindowNobodyIsWaitedFor) {
  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");

  EXPECT_THAT(world_.replacementLauncher->requests, SizeIs(1));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ProgressOfTheLaunchReachesTheCaller) {
  using Progress = VeskAppBundleInstallerLaunchProgress;
  world_.replacementLauncher->events = {Progress::handoffStarted(), Progress::jobSubmitted()};

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");

  EXPECT_THAT(world_.launchProgress, ElementsAre(Progress::handoffStarted(), Progress::jobSubmitted()));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ALauncherMayReportToNobody) {
  world_.replacementLauncher->events = {VeskAppBundleInstallerLaunchProgress::handoffStarted()};
  const VeskUpdateInstallerCoordinator coordinator = world_.makeCoordinator();

  const std::string outcome = world_.run([&](const std::stop_token& stopToken) {
    coordinator.install(world_.appBundleRequest(), nullptr, nullptr, stopToken);
  });

  EXPECT_EQ(outcome, "done");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AWindowThatOnlyTheOperationHoldsIsDestroyedOnTheMainThread) {
  world_.openWindow();

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_TRUE(world_.windowRecord->isDestroyed);
  EXPECT_FALSE(world_.windowRecord->wasUsedOffTheMainThread);
}

// Errors

TEST_F(VeskUpdateInstallerCoordinatorTest, ARequestWithoutLocationFailsBeforeAnyTransfer) {
  VeskUpdateInstallerRequest installerRequest = world_.installerRequest();
  installerRequest.archiveURL = std::nullopt;
  installerRequest.fallbackArchiveURL = kSecondURL;
  VeskAppBundleUpdateRequest appBundleRequest = world_.appBundleRequest();
  appBundleRequest.archiveURL = std::nullopt;
  appBundleRequest.helperExecutableURL = std::nullopt;

  EXPECT_EQ(world_.install(installerRequest), "missingArchiveURL");
  EXPECT_EQ(world_.install(appBundleRequest), "missingArchiveURL");

  EXPECT_THAT(world_.network->requested, IsEmpty());
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AMissingOrUnusableHelperFailsBeforeAnyTransfer) {
  VeskAppBundleUpdateRequest request = world_.appBundleRequest();

  request.helperExecutableURL = std::nullopt;
  EXPECT_EQ(world_.install(request), "replacementHelperUnavailable");
  request.helperExecutableURL = QuillonURL::fileURL((world_.folder / "none").string());
  EXPECT_EQ(world_.install(request), "replacementHelperUnavailable");
  request.helperExecutableURL = QuillonURL::fileURL((world_.folder / "plain").string());
  writeFile(world_.folder / "plain", "");
  EXPECT_EQ(world_.install(request), "replacementHelperUnavailable");

  EXPECT_THAT(world_.network->requested, IsEmpty());
}

TEST_F(VeskUpdateInstallerCoordinatorTest, WithoutFallbackAFailedDownloadIsTheEnd) {
  for (const std::int32_t code : {404, 199, 300, 500}) {
    world_.network->answers[kFirst] = status(code);

    EXPECT_EQ(world_.install(world_.installerRequest()), "downloadFailed") << code;
    EXPECT_EQ(world_.install(world_.appBundleRequest()), "downloadFailed") << code;
  }
  world_.network->answers[kFirst] = transportError(QuillonURLErrorCode::cannotFindHost);
  EXPECT_EQ(world_.install(world_.installerRequest()), "downloadFailed");

  EXPECT_THAT(world_.leftBehind(), IsEmpty());
}

TEST_F(VeskUpdateInstallerCoordinatorTest, EveryStatusFrom200To299IsASuccess) {
  for (const std::int32_t code : {200, 204, 206, 299}) {
    world_.network->answers[kFirst] = status(code);

    EXPECT_EQ(world_.install(world_.installerRequest()), "done") << code;
  }
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AResponseThatIsNotHTTPIsASuccess) {
  world_.network->answers[kFirst] = [](const Handler&, const std::stop_token&) {
    return FakeInstallerNetworkClient::deliver(QuillonURL::fileURL("/srv/Example.zip"), "from a file", std::nullopt);
  };

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_THAT(world_.unzipper->archiveContents, ElementsAre("from a file"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, TheFallbackIsTakenWhenTheFirstLocationFails) {
  VeskUpdateInstallerRequest request = world_.installerRequest();
  request.fallbackArchiveURL = kSecondURL;
  world_.network->answers[kSecond] = status(200);
  for (const auto& failure : {status(404), transportError(QuillonURLErrorCode::timedOut)}) {
    world_.network->answers[kFirst] = failure;
    world_.network->requested.clear();
    world_.openWindow();

    EXPECT_EQ(world_.install(request), "done");

    EXPECT_THAT(world_.network->requested, ElementsAre(kFirst, kSecond));
    EXPECT_EQ(world_.unzipper->archiveContents.back(), "page of status 200");
    EXPECT_THAT(world_.windowRecord->states, ElementsAre("Downloading update… | Preparing download… | …",
                                                         "Downloading update… | Preparing download… | …",
                                                         "Extracting update… | …", "Opening installer… | …"));
  }
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AFallbackThatFailsTooIsDownloadFailed) {
  VeskUpdateInstallerRequest request = world_.installerRequest();
  request.fallbackArchiveURL = kSecondURL;
  world_.network->answers[kFirst] = transportError(QuillonURLErrorCode::timedOut);
  for (const auto& failure : {status(404), transportError(QuillonURLErrorCode::timedOut)}) {
    world_.network->answers[kSecond] = failure;

    EXPECT_EQ(world_.install(request), "downloadFailed");
  }
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AFailureThatIsNotOfTheTransferIsFollowedByTheFallbackToo) {
  const FakeInstallerNetworkClient::Answer outOfMemory =
      [](const Handler&, const std::stop_token&) -> VeskUpdateInstallerDownload { throw std::bad_alloc(); };
  VeskUpdateInstallerRequest request = world_.installerRequest();
  world_.network->answers[kFirst] = outOfMemory;

  EXPECT_EQ(world_.install(request), "downloadFailed");

  request.fallbackArchiveURL = kSecondURL;
  EXPECT_EQ(world_.install(request), "done");
  world_.network->answers[kSecond] = outOfMemory;
  EXPECT_EQ(world_.install(request), "downloadFailed");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ADownloadThatNoPlaceHasRoomForIsWriteFailedAndNotTriedAgain) {
  VeskUpdateInstallerRequest request = world_.installerRequest();
  request.fallbackArchiveURL = kSecondURL;
  world_.network->answers[kFirst] = transportError(QuillonURLErrorCode::cannotWriteToFile);

  EXPECT_EQ(world_.install(request), "writeFailed");
  EXPECT_THAT(world_.network->requested, ElementsAre(kFirst));

  world_.network->answers[kFirst] = status(404);
  world_.network->answers[kSecond] = transportError(QuillonURLErrorCode::cannotWriteToFile);
  EXPECT_EQ(world_.install(request), "writeFailed");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ADownloadThatEndsWithACancellationDoesNotTryTheFallback) {
  VeskUpdateInstallerRequest request = world_.installerRequest();
  request.fallbackArchiveURL = kSecondURL;
  world_.network->answers[kFirst] = [](const Handler&, const std::stop_token&) -> VeskUpdateInstallerDownload {
    throw QuillonCancellationError();
  };

  EXPECT_EQ(world_.install(request), "cancelled");

  EXPECT_THAT(world_.network->requested, ElementsAre(kFirst));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ACancelledFirstDownloadDoesNotTryTheFallback) {
  VeskUpdateInstallerRequest request = world_.installerRequest();
  request.fallbackArchiveURL = kSecondURL;
  world_.network->answers[kFirst] = transportError(QuillonURLErrorCode::cancelled);

  EXPECT_EQ(world_.install(request), "cancelled");

  EXPECT_THAT(world_.network->requested, ElementsAre(kFirst));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ACancelledSecondDownloadIsACancellation) {
  VeskUpdateInstallerRequest request = world_.installerRequest();
  request.fallbackArchiveURL = kSecondURL;
  world_.network->answers[kFirst] = status(404);
  world_.network->answers[kSecond] = transportError(QuillonURLErrorCode::cancelled);

  EXPECT_EQ(world_.install(request), "cancelled");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ATransferThatFailsOtherwiseAfterTheStopIsACancellationToo) {
  world_.network->answers[kFirst] = [this](const Handler&, const std::stop_token&) -> VeskUpdateInstallerDownload {
    world_.cancellation.request_stop();
    throw QuillonURLError(QuillonURLErrorCode::networkConnectionLost, "lost");
  };

  EXPECT_EQ(world_.install(world_.installerRequest()), "cancelled");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, WithoutAUsableApplicationSupportTheArchiveLandsInTheTemporaryFolder) {
  world_.files->failChangesBelow(QuillonURL::fileURL(world_.support.string()), EACCES);
  archiveHolds({"Example.pkg"});

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_THAT(world_.launcher->opened, ElementsAre(world_.temporary / "Example.pkg"));
  EXPECT_THAT(world_.leftBehind(), ElementsAre("Temporary/Example.pkg"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, TheTemporaryFolderOfAnAppBundleIsOfThisAttemptAlone) {
  world_.files->failChangesBelow(QuillonURL::fileURL(world_.support.string()), EACCES);

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");

  EXPECT_THAT(world_.leftBehind(),
              ElementsAre("Temporary/Example", "Temporary/Example/Update", "Temporary/Example/Update/UUID",
                          "Temporary/Example/Update/UUID/Example.app"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, WithoutAnApplicationSupportFolderTheTemporaryOneIsPreferred) {
  world_.files->placeWorkingFolders({}, QuillonURL::fileURL(world_.temporary.string()));
  archiveHolds({"Example.pkg"});

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_THAT(world_.launcher->opened, ElementsAre(world_.temporary / "Example/Installer/Example.pkg"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ATemporaryFolderThatAnotherUserCanWriteToIsNotUsed) {
  world_.files->placeWorkingFolders({}, QuillonURL::fileURL(world_.temporary.string()));
  fs::create_directories(world_.temporary / "Example");
  fs::permissions(world_.temporary / "Example", fs::perms::all);
  archiveHolds({"Example.pkg"});

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "writeFailed");
  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_THAT(world_.launcher->opened, ElementsAre(world_.temporary / "Example.pkg")) << "as the next candidate says";
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnInstallerDocumentThatAnotherUserPutIntoTheTemporaryFolderIsNotOpened) {
  world_.files->failChangesBelow(QuillonURL::fileURL(world_.support.string()), EACCES);
  world_.unzipper->content = [](const fs::path& destination, const std::stop_token&) {
    fs::create_directory(destination / "Example.pkg");
    fs::permissions(destination / "Example.pkg", fs::perms::all);
    return true;
  };

  EXPECT_EQ(world_.install(world_.installerRequest()), "launchFailed");

  EXPECT_THAT(world_.launcher->opened, IsEmpty());
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ALinkInTheTemporaryFolderLeadsNoChangeElsewhere) {
  world_.files->placeWorkingFolders({}, QuillonURL::fileURL(world_.temporary.string()));
  writeFile(world_.folder / "Elsewhere/Installer/Example.zip", "precious");
  fs::create_directory_symlink(world_.folder / "Elsewhere", world_.temporary / "Example");
  archiveHolds({"Example.pkg"});

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");
  EXPECT_EQ(world_.install(world_.appBundleRequest()), "writeFailed");

  EXPECT_THAT(world_.launcher->opened, ElementsAre(world_.temporary / "Example.pkg"));
  EXPECT_TRUE(fs::exists(world_.folder / "Elsewhere/Installer/Example.zip"));
  EXPECT_FALSE(fs::exists(world_.folder / "Elsewhere/Update"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, InATemporaryFolderOfThisUserAloneADocumentIsOpenedWhateverItsMode) {
  world_.files->failChangesBelow(QuillonURL::fileURL(world_.support.string()), EACCES);
  world_.unzipper->content = [](const fs::path& destination, const std::stop_token&) {
    writeFile(destination / "Example.pkg", "");
    fs::permissions(destination / "Example.pkg", fs::perms::group_write, fs::perm_options::add);
    return true;
  };

  EXPECT_EQ(world_.install(world_.installerRequest()), "launchFailed") << "the folder is everybody's";
  fs::permissions(world_.temporary, fs::perms::owner_all);
  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_THAT(world_.launcher->opened, ElementsAre(world_.temporary / "Example.pkg"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, LinksOnTheWayToApplicationSupportAreResolved) {
  fs::create_directories(world_.folder / "Volume");
  fs::create_directory_symlink("Volume", world_.support);

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_THAT(world_.launcher->opened, ElementsAre(world_.folder / "Volume/Example/Installer/Example.pkg"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnArchiveThatCanBeWrittenNowhereIsWriteFailed) {
  world_.files->failChangesBelow(QuillonURL::fileURL(world_.folder.path().string()), ENOSPC);

  EXPECT_EQ(world_.install(world_.installerRequest()), "writeFailed");
  EXPECT_EQ(world_.install(world_.appBundleRequest()), "writeFailed");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnArchiveNameThatLeavesTheWorkingFolderIsWriteFailed) {
  for (const std::string name : {"../Example.zip", "..", ".", "/Example.zip", "a/b.zip"}) {
    VeskUpdateInstallerRequest installerRequest = world_.installerRequest();
    installerRequest.archiveFileName = name;
    VeskAppBundleUpdateRequest appBundleRequest = world_.appBundleRequest();
    appBundleRequest.archiveFileName = name;

    EXPECT_EQ(world_.install(installerRequest), "writeFailed") << name;
    EXPECT_EQ(world_.install(appBundleRequest), "writeFailed") << name;
  }
  EXPECT_THAT(world_.leftBehind(), IsEmpty());
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AFolderNameThatLeadsElsewhereIsWriteFailed) {
  VeskUpdateInstallerRequest installerRequest = world_.installerRequest();
  installerRequest.applicationName = "../..";
  VeskAppBundleUpdateRequest appBundleRequest = world_.appBundleRequest();
  appBundleRequest.installerSubdirectoryName = "..";

  EXPECT_EQ(world_.install(installerRequest), "writeFailed");
  EXPECT_EQ(world_.install(appBundleRequest), "writeFailed");

  EXPECT_THAT(world_.leftBehind(), IsEmpty());
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnArchiveWithoutNameGetsOne) {
  VeskUpdateInstallerRequest request = world_.installerRequest();
  request.archiveFileName = "";

  EXPECT_EQ(world_.install(request), "done");

  EXPECT_THAT(world_.unzipper->archivePaths, ElementsAre(world_.support / "Example/Installer/Update.zip"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnOlderArchiveIsReplaced) {
  writeFile(world_.support / "Example/Installer/Example.zip", "older");

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_THAT(world_.unzipper->archiveContents, ElementsAre("archive"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AFolderWithTheArchivesNameIsLeftAlone) {
  writeFile(world_.support / "Example/Installer/Example.zip/precious", "");
  archiveHolds({"Example.pkg"});

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_THAT(world_.unzipper->archivePaths, ElementsAre(world_.temporary / "Example.zip"));
  EXPECT_TRUE(fs::exists(world_.support / "Example/Installer/Example.zip/precious"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ADamagedArchiveIsUnzipFailedAndRemoved) {
  world_.unzipper->content = [](const fs::path& destination, const std::stop_token&) {
    writeFile(destination / "half", "");
    return false;
  };

  EXPECT_EQ(world_.install(world_.installerRequest()), "unzipFailed");
  EXPECT_EQ(world_.install(world_.appBundleRequest()), "unzipFailed");

  EXPECT_THAT(world_.leftBehind(), ElementsAre("Support/Example", "Support/Example/Installer",
                                               "Support/Example/Installer/half", "Support/Example/Update"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnArchiveThatCannotBeRemovedIsForgiven) {
  // The archive is written by the second change and removed by the third.
  world_.files->failChange(3, EPERM);

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_TRUE(world_.files->didFail());
  EXPECT_THAT(world_.leftBehind(), Contains("Support/Example/Installer/Example.zip"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnUnpackedFolderThatCannotBeListedIsAnInvalidArchive) {
  world_.unzipper->content = [](const fs::path& destination, const std::stop_token&) {
    fs::remove_all(destination);
    return true;
  };

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "invalidArchive");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AFolderThatCannotBeListedBesideTheApplicationIsPassedOver) {
  archiveHolds({"Example.app/", "Closed/Folder/"});
  world_.files->closeFoldersNamed("Closed");

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");

  EXPECT_TRUE(stagedApplication().ends_with("/Example.app"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ItemsThatCannotBeLookedAtBesideTheApplicationArePassedOver) {
  archiveHolds({"Example.app/", "Closed/Folder/"});
  world_.files->closeItemsInFoldersNamed("Closed");

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");

  EXPECT_TRUE(stagedApplication().ends_with("/Example.app"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnApplicationInAFolderThatIsClosedIsNotFound) {
  archiveHolds({"Closed/Example.app/"});
  world_.files->closeFoldersNamed("Closed");

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "noAppBundleFound");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnArchiveWithoutApplicationIsNoAppBundleFound) {
  for (const auto& names : std::vector<std::vector<std::string>>{
           {}, {"Example.pkg"}, {"Example.app"}, {"Example/"}, {"__MACOSX/Example.app/"}, {".app/"}, {"app/"}}) {
    archiveHolds(names);

    EXPECT_EQ(world_.install(world_.appBundleRequest()), "noAppBundleFound") << ::testing::PrintToString(names);
  }
}

TEST_F(VeskUpdateInstallerCoordinatorTest, TwoApplicationsInAnyLetterCaseAreMultipleAppBundlesFound) {
  for (const auto& names : std::vector<std::vector<std::string>>{{"A.app/", "B.app/"},
                                                                 {"A.app/", "B.APP/"},
                                                                 {"A.App/", "B.aPP/"},
                                                                 {"A.app/", "Extras/B.app/"},
                                                                 {"A.app/", "Extras/__MACOSX/B.app/"},
                                                                 {"One/A.app/", "Two/A.app/"}}) {
    archiveHolds(names);

    EXPECT_EQ(world_.install(world_.appBundleRequest()), "multipleAppBundlesFound") << ::testing::PrintToString(names);
  }
}

TEST_F(VeskUpdateInstallerCoordinatorTest, TheApplicationIsFoundAtAnyDepth) {
  archiveHolds({"Read me.txt", "Example 2.0/Mac/Example.app/", "Example 2.0/Documents/"});

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");

  EXPECT_TRUE(stagedApplication().ends_with("/Example 2.0/Mac/Example.app"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, HelperApplicationsWithinTheApplicationDoNotCount) {
  archiveHolds({"Example.app/Contents/Library/LoginItems/Helper.app/", "Example.app/Contents/Updater.app/"});

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");

  EXPECT_TRUE(stagedApplication().ends_with("/Example.app"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, WhatTheArchiveKeepsForAttributesIsNoApplication) {
  archiveHolds({"Example.app/", "__MACOSX/Example.app/", "__MACOSX/._Example.app"});

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, LinksToFoldersAreNotFollowed) {
  makeApplicationBundle(world_.folder / "Elsewhere/Other.app");
  world_.unzipper->content = [this](const fs::path& destination, const std::stop_token&) {
    makeApplicationBundle(destination / "Example.app");
    fs::create_directory_symlink(world_.folder / "Elsewhere", destination / "Applications");
    fs::create_directory_symlink(".", destination / "Loop");
    return true;
  };

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");

  EXPECT_TRUE(stagedApplication().ends_with("/Example.app"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ALinkWithAnApplicationsNameIsAnInvalidArchive) {
  makeApplicationBundle(world_.folder / "Elsewhere/Example.app");
  world_.unzipper->content = [this](const fs::path& destination, const std::stop_token&) {
    fs::create_directory_symlink(world_.folder / "Elsewhere/Example.app", destination / "Example.app");
    return true;
  };

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "invalidArchive");

  EXPECT_TRUE(fs::exists(world_.folder / "Elsewhere/Example.app/Contents/Info.plist"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, WhatTheValidatorThrowsIsPassedOnUnchanged) {
  for (const Code code : {Code::bundleIdentifierMismatch, Code::teamIdentifierMismatch, Code::nonNewerBundleVersion,
                          Code::minimumOSVersionUnsupported, Code::missingExecutable, Code::signatureValidationFailed,
                          Code::destinationNotWritable, Code::replacementFailed, Code::relaunchFailed}) {
    world_.validator->onValidation = [code](int, const QuillonURL&) { throw VeskUpdateInstallerError(code); };
    world_.openWindow();

    EXPECT_EQ(world_.install(world_.appBundleRequest()), caseName(code));

    EXPECT_EQ(world_.windowRecord->states.back(), "Verifying update… | …");
  }
  EXPECT_THAT(world_.replacementLauncher->requests, IsEmpty());
}

TEST_F(VeskUpdateInstallerCoordinatorTest, EveryLaunchResultHasItsError) {
  const VeskAppBundleInstallerFailureDiagnostic diagnostic{.phase = VeskAppBundleInstallerLaunchPhase::jobSubmission,
                                                           .errorDomain = "Domain",
                                                           .errorCode = 7,
                                                           .errorDescription = "no"};
  const std::vector<std::pair<LaunchResult, VeskUpdateInstallerError>> table = {
      {LaunchResult::launchFailed(diagnostic), VeskUpdateInstallerError::replacementHelperLaunchFailed(diagnostic)},
      {LaunchResult::protocolFailure(diagnostic),
       VeskUpdateInstallerError::replacementHelperProtocolFailure(diagnostic)},
      {LaunchResult::timedOut(VeskAppBundleInstallerLaunchPhase::postAuthorization),
       VeskUpdateInstallerError::replacementHelperLaunchTimedOut(VeskAppBundleInstallerLaunchPhase::postAuthorization)},
      {LaunchResult::authorizationDenied(-60005),
       VeskUpdateInstallerError::authorizationDenied({.status = -60005, .message = std::nullopt})},
      {LaunchResult::authorizationCancelled(-60006),
       VeskUpdateInstallerError::authorizationCancelled({.status = -60006, .message = std::nullopt})},
      {LaunchResult::helperUnavailable(), VeskUpdateInstallerError(Code::replacementHelperUnavailable)},
  };
  const VeskUpdateInstallerCoordinator coordinator = world_.makeCoordinator();
  for (const auto& [result, expected] : table) {
    world_.replacementLauncher->answer = result;

    try {
      coordinator.install(world_.appBundleRequest(), nullptr, nullptr);
      ADD_FAILURE() << expected.description();
    } catch (const VeskUpdateInstallerError& error) {
      EXPECT_EQ(error, expected) << error.description();
    }
  }
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AFailedLaunchLeavesNothingOfTheAttempt) {
  for (const LaunchResult& result :
       {LaunchResult::helperUnavailable(), LaunchResult::launchFailed(failureIn(Phase::jobSubmission)),
        LaunchResult::protocolFailure(failureIn(Phase::messageResolution)),
        LaunchResult::timedOut(Phase::messageResolution), LaunchResult::authorizationDenied(0),
        LaunchResult::authorizationCancelled(0)}) {
    world_.replacementLauncher->answer = result;

    EXPECT_NE(world_.install(world_.appBundleRequest()), "done");

    EXPECT_THAT(world_.leftBehind(), Not(Contains(::testing::HasSubstr("UUID")))) << result.caseName();
  }
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnInstallerThatMayHaveBeenStartedFindsTheStagedBundleUntilTheNextAttempt) {
  const VeskAppBundleUpdateRequest request = world_.appBundleRequest();
  for (const LaunchResult& result :
       {LaunchResult::timedOut(Phase::preAuthorization), LaunchResult::timedOut(Phase::postAuthorization),
        LaunchResult::protocolFailure(failureIn(Phase::xpcConnection)),
        LaunchResult::protocolFailure(failureIn(Phase::xpcReply))}) {
    world_.replacementLauncher->answer = result;

    EXPECT_NE(world_.install(request), "done");

    EXPECT_TRUE(fs::exists(stagedApplication() + "/Contents/Info.plist")) << result.caseName();
    EXPECT_THAT(world_.leftBehind(),
                ElementsAre("Support/Example", "Support/Example/Update", "Support/Example/Update/.handed-over-UUID",
                            "Support/Example/Update/UUID", "Support/Example/Update/UUID/Example.app",
                            "Support/org.example.App", "Support/org.example.App/SeamlessInstaller"));
  }
  world_.network->answers[kFirst] = status(404);
  EXPECT_EQ(world_.install(request), "downloadFailed");

  EXPECT_THAT(world_.leftBehind(), Not(Contains(::testing::HasSubstr("UUID"))));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, WithoutNamesNothingIsRemovedFromFoldersThatAreEverybodys) {
  const std::string name = "0B9C1A52-6F0E-4E0B-9E7C-5B8B0B7D4F11";
  fs::create_directories(world_.support / name);
  writeFile(world_.support / (".handed-over-" + name), "");
  VeskAppBundleUpdateRequest request = world_.appBundleRequest();
  request.applicationName.clear();
  request.installerSubdirectoryName.clear();
  world_.network->answers[kFirst] = status(404);

  EXPECT_EQ(world_.install(request), "downloadFailed");

  EXPECT_TRUE(fs::exists(world_.support / name));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnAttemptThatIsUnderWayOrHandedOverSurvivesTheNextOne) {
  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");
  const std::string first = stagedApplication();
  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");

  EXPECT_TRUE(fs::exists(first));
  EXPECT_TRUE(fs::exists(stagedApplication()));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, TheBundleOfALaunchThatMayHaveSucceededAfterTheStopStays) {
  world_.replacementLauncher->onLaunch = [this](const auto&) { world_.cancellation.request_stop(); };
  world_.replacementLauncher->answer = LaunchResult::protocolFailure(failureIn(Phase::xpcConnection));

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "cancelled");

  EXPECT_TRUE(fs::exists(stagedApplication()));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AReportOfAnEarlierFailureIsRemovedBeforeTheHandOff) {
  const fs::path report = world_.support / "org.example.App/SeamlessInstaller/QuillonUpdateInstallerFailure.plist";
  writeFile(report, "stale");
  bool wasThere = true;
  world_.replacementLauncher->onLaunch = [&](const auto&) { wasThere = fs::exists(report); };

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");

  EXPECT_FALSE(wasThere);
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AReportThatStaysEndsTheAttemptBeforeTheHandOff) {
  const fs::path report = world_.support / "org.example.App/SeamlessInstaller/QuillonUpdateInstallerFailure.plist";
  writeFile(report, "stale");
  world_.files->failChangesBelow(QuillonURL::fileURL(report.string()), EPERM);

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "replacementLaunchFailed");

  EXPECT_THAT(world_.replacementLauncher->requests, IsEmpty());
  EXPECT_THAT(world_.leftBehind(), Not(Contains(::testing::HasSubstr("UUID"))));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AReportFolderThatCannotBeMadeIsForgiven) {
  world_.files->failChangesBelow(QuillonURL::fileURL((world_.support / "org.example.App").string()), EACCES);

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AHostWithoutIdentifierHasNoReport) {
  VeskAppBundleUpdateRequest request = world_.appBundleRequest();
  request.hostIdentity.bundleIdentifier = "";

  EXPECT_EQ(world_.install(request), "done");

  EXPECT_EQ(world_.replacementLauncher->requests.front().failureReportURL, std::nullopt);
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnyFileOperationThatFailsEndsInAnErrorOrTheUpdate) {
  for (int change = 1; change < 50; ++change) {
    SCOPED_TRACE(change);
    UpdateInstallationWorld world;
    world.files->failChange(change, EIO);

    const std::string outcome = world.install(world.appBundleRequest());

    if (outcome != "done") {
      EXPECT_EQ(outcome, "writeFailed");
      EXPECT_THAT(world.leftBehind(), Not(Contains(::testing::HasSubstr("UUID/"))));
    }
    if (!world.files->didFail()) return;  // the sweep has passed every change
  }
  FAIL() << "no run completed without a fault";
}

// Progress

TEST_F(VeskUpdateInstallerCoordinatorTest, MoreThanWasAnnouncedIsShownOnBothSides) {
  world_.network->answers[kFirst] = [](const Handler& progress, const std::stop_token&) {
    progress({.bytesReceived = 1500, .expectedBytes = 1000});
    return FakeInstallerNetworkClient::deliver(kSecondURL, "archive", 200);
  };
  world_.openWindow();

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_EQ(world_.windowRecord->states.at(1), "Downloading update… | 1500 B of 1500 B | 100%");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, WithoutAnAnnouncedSizeOnlyWhatHasArrivedIsShown) {
  world_.network->answers[kFirst] = [](const Handler& progress, const std::stop_token&) {
    progress({.bytesReceived = 1500});
    progress({.bytesReceived = 1600, .expectedBytes = 0});
    return FakeInstallerNetworkClient::deliver(kSecondURL, "archive", 200);
  };
  world_.openWindow();

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_EQ(world_.windowRecord->states.at(1), "Downloading update… | 1500 B downloaded | …");
  EXPECT_EQ(world_.windowRecord->states.at(2), "Downloading update… | 1600 B downloaded | …");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, TextsAndSizesAreInTheUsersLanguage) {
  writeFile(world_.folder / "Host.app/Contents/Resources/de.lproj/QuillonUpdate.strings",
            "\"Downloading update…\" = \"Update wird geladen …\";\n\"%@ of %@\" = \"%1$@ von %2$@\";\n");
  world_.languages = {"de-AT", "en"};
  world_.formattedByteCount = nullptr;
  world_.network->answers[kFirst] = [](const Handler& progress, const std::stop_token&) {
    progress({.bytesReceived = 1'500'000, .expectedBytes = 2'000'000'000});
    return FakeInstallerNetworkClient::deliver(kSecondURL, "archive", 200);
  };
  world_.openWindow();

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_EQ(world_.windowRecord->states.at(1), "Update wird geladen … | 1,5 MB von 2,00 GB | 0%");
  EXPECT_EQ(world_.windowRecord->states.back(), "Opening installer… | …");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, WithoutAWindowNobodyListensToTheTransfer) {
  bool isListening = true;
  world_.network->answers[kFirst] = [&](const Handler& progress, const std::stop_token&) {
    isListening = static_cast<bool>(progress);
    return FakeInstallerNetworkClient::deliver(kSecondURL, "archive", 200);
  };

  EXPECT_EQ(world_.install(world_.installerRequest()), "done");

  EXPECT_FALSE(isListening);
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AReportThatIsHandledAfterItsDownloadChangesNothing) {
  Handler late;
  world_.network->answers[kFirst] = [&](const Handler& progress, const std::stop_token&) {
    late = progress;
    return FakeInstallerNetworkClient::deliver(kSecondURL, "archive", 200);
  };
  world_.openWindow();
  EXPECT_EQ(world_.install(world_.installerRequest()), "done");
  const std::vector<std::string> states = world_.windowRecord->states;

  late({.bytesReceived = 5, .expectedBytes = 7});
  world_.mainThread->drain();

  EXPECT_EQ(world_.windowRecord->states, states);
}

// Cancellation

TEST_F(VeskUpdateInstallerCoordinatorTest, AnOperationThatIsCancelledBeforehandTouchesNothing) {
  world_.cancellation.request_stop();
  world_.openWindow();

  EXPECT_EQ(world_.install(world_.installerRequest()), "cancelled");
  EXPECT_EQ(world_.install(world_.appBundleRequest()), "cancelled");

  EXPECT_EQ(world_.interactions->count(), 0);
}

/// Cancels the whole of an operation at each moment at which it touches anything.
class VeskUpdateInstallerCoordinatorCancellationTest : public ::testing::TestWithParam<bool> {};

TEST_P(VeskUpdateInstallerCoordinatorCancellationTest, AnAppBundleCancelledAtAnyMomentIsCancelledAndLeavesNothing) {
  for (int moment = 1; moment < 100; ++moment) {
    SCOPED_TRACE(moment);
    UpdateInstallationWorld world;
    if (GetParam()) world.openWindow();
    world.interactions->at(moment, [&] { world.cancellation.request_stop(); });

    const std::string outcome = world.install(world.appBundleRequest());

    if (world.interactions->count() < moment) {
      EXPECT_EQ(outcome, "done");
      return;  // the sweep has passed every moment
    }
    EXPECT_EQ(outcome, "cancelled");
    EXPECT_THAT(world.replacementLauncher->requests, IsEmpty());
    EXPECT_THAT(world.leftBehind(), Not(Contains(::testing::HasSubstr("UUID"))));
  }
  FAIL() << "no run completed";
}

TEST_P(VeskUpdateInstallerCoordinatorCancellationTest, AnInstallerCancelledAtAnyMomentIsCancelledAndLeavesNoArchive) {
  for (int moment = 1; moment < 100; ++moment) {
    SCOPED_TRACE(moment);
    UpdateInstallationWorld world;
    if (GetParam()) world.openWindow();
    world.interactions->at(moment, [&] { world.cancellation.request_stop(); });

    const std::string outcome = world.install(world.installerRequest());

    EXPECT_THAT(world.leftBehind(), Not(Contains(::testing::HasSubstr("Example.zip"))));
    // The last moment is that of the system opening the document, which cannot be taken back.
    if (!world.launcher->opened.empty()) {
      EXPECT_EQ(outcome, "done");
      return;
    }
    EXPECT_EQ(outcome, "cancelled");
  }
  FAIL() << "no run completed";
}

INSTANTIATE_TEST_SUITE_P(Windows, VeskUpdateInstallerCoordinatorCancellationTest, ::testing::Bool(),
                         [](const auto& run) { return run.param ? "WithWindow" : "WithoutWindow"; });

TEST_F(VeskUpdateInstallerCoordinatorTest, CancellingWhileTheUserIsAskedEndsTheWait) {
  world_.pressesButton = false;
  world_.openWindow();
  world_.windowRecord->onState = [this](const std::string& state) {
    if (state.ends_with("]")) world_.cancellation.request_stop();
  };

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "cancelled");

  EXPECT_THAT(world_.replacementLauncher->requests, IsEmpty());
  EXPECT_EQ(world_.windowRecord->states.back(), "Ready to Install | 100% | [Install and Relaunch]");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AMainThreadThatCancelsAndWaitsIsNotWaitedFor) {
  const VeskUpdateInstallerCoordinator coordinator = world_.makeCoordinator();
  std::string outcome;
  {
    // Nobody runs the main thread's queue: destroying the thread requests its stop and waits for it.
    const std::jthread operation([&](const std::stop_token& stopToken) {
      try {
        coordinator.install(world_.installerRequest(),
                            std::make_shared<testing::RecordingProgressWindow>("", world_.mainThread.get()), stopToken);
      } catch (const QuillonCancellationError&) {
        outcome = "cancelled";
      }
    });
  }

  EXPECT_EQ(outcome, "cancelled");
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ALaunchThatSucceedsAfterTheStopStands) {
  world_.replacementLauncher->onLaunch = [this](const auto&) { world_.cancellation.request_stop(); };

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "done");

  EXPECT_TRUE(fs::exists(stagedApplication()));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, ALaunchThatFailsAfterTheStopIsACancellation) {
  world_.replacementLauncher->onLaunch = [this](const auto&) { world_.cancellation.request_stop(); };
  world_.replacementLauncher->answer = LaunchResult::authorizationDenied(-60005);

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "cancelled");

  EXPECT_THAT(world_.leftBehind(), Not(Contains(::testing::HasSubstr("UUID"))));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, APlacementThatIsStoppedIsACancellation) {
  class BytesOnTheirWay final : public VeskUpdateInstallerDownloadedData {
   public:
    BytesOnTheirWay(std::stop_source& cancellation, bool& wereStopped)
        : cancellation_(cancellation), wereStopped_(wereStopped) {}
    [[nodiscard]] std::uint64_t size() const noexcept override { return 1; }
    void writeAtomically(const QuillonFileManaging&, const QuillonURL&, const std::stop_token& stopToken) override {
      cancellation_.request_stop();
      wereStopped_ = stopToken.stop_requested();
      throw QuillonCancellationError();
    }

   private:
    std::stop_source& cancellation_;
    bool& wereStopped_;
  };
  bool wereStopped = false;
  world_.network->answers[kFirst] = [&](const Handler&, const std::stop_token&) {
    return VeskUpdateInstallerDownload{.data = std::make_unique<BytesOnTheirWay>(world_.cancellation, wereStopped),
                                       .response = {.url = kSecondURL, .httpStatusCode = 200}};
  };

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "cancelled");

  EXPECT_TRUE(wereStopped);
  EXPECT_THAT(world_.unzipper->archivePaths, IsEmpty());
  EXPECT_THAT(world_.leftBehind(), ElementsAre("Support/Example", "Support/Example/Update"));
}

TEST_F(VeskUpdateInstallerCoordinatorTest, AnUnzipperThatIsStoppedIsACancellation) {
  world_.unzipper->content = [this](const fs::path& destination, const std::stop_token& stopToken) {
    writeFile(destination / "half", "");
    world_.cancellation.request_stop();
    return !stopToken.stop_requested();
  };

  EXPECT_EQ(world_.install(world_.appBundleRequest()), "cancelled");

  EXPECT_THAT(world_.leftBehind(), ElementsAre("Support/Example", "Support/Example/Update"));
}

}  // namespace
}  // namespace quillon
