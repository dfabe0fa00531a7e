#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/Posix/QuillonFileLock.h"
#include "QuillonTool/Update/ApplicationUpdateSteps.h"
#include "QuillonToolTests/Update/UpdateCommandWorld.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReportStore.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using Result = UpdateOutcome::Result;
using std::chrono::hours;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;
using World = testing::UpdateCommandWorld;

class ApplicationUpdateStepsTest : public ::testing::Test {
 protected:
  /// A scheduled run, some time after the one before.
  Result runScheduledAfter(hours later) {
    world_.now += later;
    world_.options.isScheduled = true;
    return world_.run().result;
  }
  /// Where an installer that was killed has left the bundle.
  [[nodiscard]] fs::path aside() const {
    return world_.bundle.string() + ".vesk-update-backup-0F8CFD24-EDB8-4A85-B36A-15635A53049B";
  }
  [[nodiscard]] std::size_t launches() const { return world_.world.replacementLauncher->requests.size(); }

  World world_;
};

TEST_F(ApplicationUpdateStepsTest, AnUpdateIsOfferedInstalledAndRemembered) {
  const UpdateOutcome outcome = world_.run();

  EXPECT_EQ(outcome.result, Result::launched);
  EXPECT_EQ(outcome.identifier, "org.example.App");
  EXPECT_EQ(outcome.version, "1.0");
  EXPECT_EQ(outcome.offer->identifier, "release-2.0");
  EXPECT_EQ(outcome.offer->version, "2.0");
  EXPECT_EQ(outcome.nextCheck, world_.now + hours(24));
  EXPECT_EQ(launches(), 1U);
  EXPECT_EQ(world_.memory().lastCheck(), world_.now);
  EXPECT_EQ(world_.memory().lastShown(world_.now), world_.now);
  EXPECT_EQ(world_.memory().shownIdentifiers().at("update"), QuillonPropertyListValue("release-2.0"));
  EXPECT_THAT(world_.printed(), HasSubstr("The installer takes over: it puts version 2.0 in the place of 1.0"));
}

TEST_F(ApplicationUpdateStepsTest, TheReleaseNotesAreShownWithTheOffer) {
  world_.serve(World::pageURL, "<p>Faster</p>");

  (void)world_.run();

  EXPECT_THAT(world_.printed(), HasSubstr("Release Notes: https://example.org/notes.html\n  | Faster\n  1) Install"));
}

TEST_F(ApplicationUpdateStepsTest, AVersionOfAFeedBeginsNoLineOfItsOwn) {
  world_.serve(World::feedURL, World::feedOf({World::offerWith("current", "2.0\n  1) Remind Me Later")}));
  world_.options.onlyChecks = true;

  (void)world_.run();
  world_.options.onlyChecks = false;
  (void)world_.run();

  EXPECT_THAT(world_.printed(), AllOf(HasSubstr("2.0   1) Remind Me Later is available"),
                                      HasSubstr("puts version 2.0   1) Remind Me Later in the place"),
                                      Not(HasSubstr("\n  1) Remind Me Later"))));
}

TEST_F(ApplicationUpdateStepsTest, ACheckSaysWhatIsOfferedAndCountsAsShownNowhere) {
  world_.options.onlyChecks = true;

  EXPECT_EQ(world_.run().result, Result::offered);

  EXPECT_EQ(world_.printed(), "Example 2.0 is available; version 1.0 is installed.\n");
  EXPECT_EQ(launches(), 0U);
  EXPECT_FALSE(world_.memory().lastShown(world_.now));
  EXPECT_THAT(world_.network->requests(), SizeIs(1));  // not the release notes
}

TEST_F(ApplicationUpdateStepsTest, NoCheckKeepsAnOfferFromScheduledRuns) {
  world_.answering = UpdateAnswering::byNobody;
  for (int hour = 0; hour < 30; ++hour) {
    world_.options.onlyChecks = true;
    world_.options.isScheduled = false;
    world_.now += hours(1);
    EXPECT_EQ(world_.run().result, Result::offered);
  }
  world_.options.onlyChecks = false;

  EXPECT_EQ(runScheduledAfter(hours(0)), Result::offered);
}

TEST_F(ApplicationUpdateStepsTest, ACheckThatFindsNothingSparesAScheduledOne) {
  world_.options.onlyChecks = true;
  world_.serve(World::feedURL, World::feedOf({World::offerWith("current", "0.9")}));
  EXPECT_EQ(world_.run().result, Result::upToDate);
  world_.options.onlyChecks = false;

  EXPECT_EQ(runScheduledAfter(hours(1)), Result::notDue);
}

TEST_F(ApplicationUpdateStepsTest, ACheckLeavesWhatTheLastAttemptCameToToTheNextRun) {
  world_.memory().setAttempt(
      VeskUpdateAttempt{.identifier = "A", .fromVersion = "1.0", .fromBuild = 1, .toVersion = "2.0"});
  VeskAppBundleUpdateFailureReportStore(world_.world.files)
      .writeFailureReport("replacementFailed", "org.example.App", world_.now, "A");
  const fs::path left = world_.world.support / "Example/quillon-update-org.example.App/left";
  testing::writeFile(left, "staged");
  const fs::path folder = world_.world.support / "org.example.App";
  fs::create_directories(folder);
  // Somebody is looking at an offer.
  const QuillonFileLock other(QuillonURL::fileURL((folder / "quillon-update.lock").string()));
  world_.options.onlyChecks = true;

  const UpdateOutcome outcome = world_.run();

  EXPECT_EQ(outcome.result, Result::offered);
  EXPECT_FALSE(outcome.previousFailure);
  EXPECT_TRUE(world_.memory().attempt());
  EXPECT_TRUE(fs::exists(folder / "SeamlessInstaller/QuillonUpdateInstallerFailure-A.plist"));
  EXPECT_TRUE(fs::exists(left));
}

TEST_F(ApplicationUpdateStepsTest, ACheckPutsNothingBack) {
  fs::rename(world_.bundle, aside());
  world_.options.onlyChecks = true;

  EXPECT_EQ(world_.run().error->code, "noBundle");

  EXPECT_TRUE(fs::exists(aside()));
}

TEST_F(ApplicationUpdateStepsTest, WithoutAnUpdateTheTextsOfTheAlertSaySo) {
  world_.serve(World::feedURL, World::feedOf({World::offerWith("current", "0.9")}));

  EXPECT_EQ(world_.run().result, Result::upToDate);

  EXPECT_EQ(world_.printed(), "No Updates Available\nYou are running the current version of Example.\n");
  EXPECT_FALSE(world_.run().offer);
}

TEST_F(ApplicationUpdateStepsTest, WithoutAnybodyToAskNothingIsInstalled) {
  world_.answering = UpdateAnswering::byNobody;

  EXPECT_EQ(world_.run().result, Result::offered);

  EXPECT_EQ(launches(), 0U);
  EXPECT_THAT(world_.printed(), HasSubstr("Write --yes to install without questions.\n"));
}

TEST_F(ApplicationUpdateStepsTest, AScheduledRunChecksOnlyWhenItIsDue) {
  world_.answering = UpdateAnswering::byNobody;
  world_.serve(World::feedURL, World::feedOf({World::offerWith("interval", "7200")}));
  EXPECT_EQ(runScheduledAfter(hours(0)), Result::offered);

  EXPECT_EQ(runScheduledAfter(hours(1)), Result::notDue);
  EXPECT_THAT(world_.printed(), HasSubstr("is due at 2026-06-11T02:00:00Z.\n"));
  EXPECT_EQ(runScheduledAfter(hours(1)), Result::withheld);  // due, and the reminder still waits
}

TEST_F(ApplicationUpdateStepsTest, WhoAsksIsAnsweredAtAnyTime) {
  world_.answering = UpdateAnswering::byNobody;
  EXPECT_EQ(runScheduledAfter(hours(0)), Result::offered);
  world_.options.isScheduled = false;

  EXPECT_EQ(world_.run().result, Result::offered);
}

TEST_F(ApplicationUpdateStepsTest, AnOfferComesAgainAfterTheReminderDelay) {
  world_.answering = UpdateAnswering::byNobody;
  world_.settings->set(QuillonPropertyListValue(48), VeskUpdateMemory::reminderHoursKey);
  EXPECT_EQ(runScheduledAfter(hours(0)), Result::offered);

  EXPECT_EQ(runScheduledAfter(hours(24)), Result::withheld);
  EXPECT_EQ(runScheduledAfter(hours(24)), Result::offered);
}

TEST_F(ApplicationUpdateStepsTest, WhatWaitsForTheReminderDelayIsNotDenied) {
  world_.answering = UpdateAnswering::byNobody;
  world_.settings->set(QuillonPropertyListValue(48), VeskUpdateMemory::reminderHoursKey);
  EXPECT_EQ(runScheduledAfter(hours(0)), Result::offered);
  world_.output.str("");

  world_.now += hours(24);
  const UpdateOutcome outcome = world_.run();

  EXPECT_EQ(outcome.result, Result::withheld);
  EXPECT_EQ(outcome.offer->version, "2.0");
  EXPECT_EQ(world_.printed(),
            "Version 2.0 of Example is available. It was offered less than 48 hours ago; run the command without "
            "--scheduled to be offered it again.\n");
  EXPECT_EQ(world_.memory().lastCheck(), world_.now);
}

TEST_F(ApplicationUpdateStepsTest, WithinTheReminderDelayWhatIsForOthersIsNoUpdate) {
  world_.answering = UpdateAnswering::byNobody;
  world_.memory().setLastShown(world_.now);
  world_.serve(World::feedURL, World::feedOf({World::offerWith("current", "2.0b1")}));

  EXPECT_EQ(runScheduledAfter(hours(1)), Result::upToDate);

  EXPECT_EQ(world_.printed(), "No Updates Available\n");
}

TEST_F(ApplicationUpdateStepsTest, WhatWasSkippedIsOfferedOnlyToWhoAsks) {
  world_.memory().setSkippedIdentifier("release-2.0");

  EXPECT_EQ(runScheduledAfter(hours(0)), Result::withheld);
  EXPECT_EQ(world_.printed(),
            "Version 2.0 of Example is available. It was skipped, or no administrator allowed it; run the command "
            "without --scheduled to be offered it again.\n");

  world_.options.isScheduled = false;
  EXPECT_EQ(world_.run().result, Result::launched);
  EXPECT_FALSE(world_.memory().skippedIdentifier());
}

TEST_F(ApplicationUpdateStepsTest, AVersionThatMustBeLeftIsOfferedAlthoughItWasSkipped) {
  world_.memory().setSkippedIdentifier("release-2.0");
  world_.serve(World::feedURL, World::feedOf({World::offerWith("mustupdate", "1.0")}));

  EXPECT_EQ(runScheduledAfter(hours(0)), Result::launched);
}

TEST_F(ApplicationUpdateStepsTest, WhatNoAdministratorAllowedIsNotTriedAgainByItself) {
  world_.world.replacementLauncher->answer = VeskAppBundleReplacementLaunchResult::authorizationDenied(-60005);
  EXPECT_EQ(runScheduledAfter(hours(0)), Result::failed);

  EXPECT_EQ(runScheduledAfter(hours(100)), Result::withheld);

  EXPECT_EQ(launches(), 1U);
  EXPECT_THAT(world_.world.network->requested, SizeIs(1));  // nothing is downloaded for nothing
}

TEST_F(ApplicationUpdateStepsTest, ANewerUpdateIsOfferedAfterARefusal) {
  world_.memory().setRefusedIdentifier("release-1.9");

  EXPECT_EQ(runScheduledAfter(hours(0)), Result::launched);
}

TEST_F(ApplicationUpdateStepsTest, BetasAreForThoseWhoWantThemAndForWhoAsks) {
  world_.answering = UpdateAnswering::byNobody;
  world_.serve(World::feedURL, World::feedOf({World::offerWith("current", "2.0b1")}));
  EXPECT_EQ(runScheduledAfter(hours(0)), Result::upToDate);

  world_.options.betaPreference = true;
  EXPECT_EQ(runScheduledAfter(hours(24)), Result::offered);
  EXPECT_TRUE(world_.memory().checksForBetas());
  world_.options.betaPreference = std::nullopt;
  EXPECT_EQ(runScheduledAfter(hours(24)), Result::offered);
  world_.options.betaPreference = false;
  EXPECT_EQ(runScheduledAfter(hours(24)), Result::upToDate);

  world_.options = {.bundle = world_.options.bundle,
                    .feed = world_.options.feed,
                    .betaPreference = {},
                    .skus = {},
                    .quitLimit = {},
                    .logFile = {}};
  const UpdateOutcome outcome = world_.run();
  EXPECT_EQ(outcome.result, Result::offered);
  EXPECT_TRUE(outcome.offer->isBeta);
}

TEST_F(ApplicationUpdateStepsTest, AFeedThatCannotBeHadIsAFailureWithTheTextsOfTheAlert) {
  world_.serve(World::feedURL, "", 503);

  const UpdateOutcome outcome = world_.run();

  EXPECT_EQ(outcome.result, Result::failed);
  EXPECT_EQ(outcome.error->code, "feedNotLoaded");
  EXPECT_THAT(outcome.error->message, StartsWith("Unable to Check For Updates: The server answered"));
  EXPECT_FALSE(world_.memory().lastCheck());
}

TEST_F(ApplicationUpdateStepsTest, BeingOfflineIsToldAsThat) {
  world_.network->answer(*world_.options.feed,
                         QuillonURLError(QuillonURLErrorCode::notConnectedToInternet, "no route"));

  EXPECT_THAT(world_.run().error->message,
              StartsWith("Unable to Check For Updates. Internet appears to be offline.: "));
}

TEST_F(ApplicationUpdateStepsTest, WithoutAFeedTheUserIsToldHowToNameOne) {
  world_.options.feed.reset();

  const UpdateOutcome outcome = world_.run();

  EXPECT_EQ(outcome.error->code, "noFeedURL");
  EXPECT_THAT(outcome.error->message, HasSubstr("has no QuillonUpdateFeedURL in Contents/Info.plist. Name the feed"));
}

TEST_F(ApplicationUpdateStepsTest, AStopIsNoFailure) {
  world_.stopSource.request_stop();

  const UpdateOutcome outcome = world_.run();

  EXPECT_EQ(outcome.result, Result::cancelled);
  EXPECT_FALSE(outcome.error);
}

TEST_F(ApplicationUpdateStepsTest, AnInstallerAtWorkIsWaitedForBeforeTheBundleIsLookedAt) {
  const fs::path aside = world_.bundle.parent_path() / "aside";
  fs::rename(world_.bundle, aside);
  world_.processes->answer = [&](const QuillonURL& bundle) {
    EXPECT_EQ(bundle.path(), world_.bundle.string());
    return fs::exists(aside) ? std::vector<ApplicationProcess>{{.identifier = 9, .name = "I", .isInstaller = true}}
                             : std::vector<ApplicationProcess>();
  };
  world_.onPause = [&](const std::stop_token&) { fs::rename(aside, world_.bundle); };

  EXPECT_EQ(world_.run().result, Result::launched);

  EXPECT_THAT(world_.printed(),
              StartsWith("An update of this application is being installed. Waiting until it is done: "
                         "process 9 (I)\n"));
}

TEST_F(ApplicationUpdateStepsTest, AnInstallerThatDoesNotEndIsAFailure) {
  world_.options.quitLimit = std::chrono::seconds(0);
  world_.processes->answer = [](const QuillonURL&) {
    return std::vector<ApplicationProcess>{{.identifier = 9, .name = "I", .isInstaller = true}};
  };

  EXPECT_EQ(world_.run().error->code, "installerRuns");
}

TEST_F(ApplicationUpdateStepsTest, ABundleThatAnInterruptedInstallerMovedAsideIsPutBack) {
  fs::rename(world_.bundle, aside());
  world_.memory().setAttempt(
      VeskUpdateAttempt{.identifier = "A", .fromVersion = "1.0", .fromBuild = 1, .toVersion = "2.0"});
  world_.answering = UpdateAnswering::byNobody;

  const UpdateOutcome outcome = world_.run();

  EXPECT_EQ(outcome.result, Result::offered);
  EXPECT_EQ(outcome.previousFailure->description, "noReport");
  EXPECT_TRUE(fs::exists(world_.bundle / "Contents/Info.plist"));
  EXPECT_THAT(world_.printed(), StartsWith("The version from before an interrupted update was put back.\n"));
}

TEST_F(ApplicationUpdateStepsTest, AMissingBundleIsAFailure) {
  fs::remove_all(world_.bundle);

  EXPECT_EQ(world_.run().error->code, "noBundle");
}

TEST_F(ApplicationUpdateStepsTest, TwoRunsDoNotMeet) {
  const fs::path folder = world_.world.support / "org.example.App";
  fs::create_directories(folder);
  const QuillonFileLock other(QuillonURL::fileURL((folder / "quillon-update.lock").string()));

  EXPECT_EQ(world_.run().error->code, "alreadyRunning");

  EXPECT_THAT(world_.network->requests(), IsEmpty());
}

TEST_F(ApplicationUpdateStepsTest, AFolderThatCannotBeLockedKeepsNobodyFromBeingUpdated) {
  testing::writeFile(world_.world.support / "org.example.App", "no folder");

  EXPECT_EQ(world_.run().result, Result::launched);
}

TEST_F(ApplicationUpdateStepsTest, FailuresAreLogged) {
  world_.serve(World::feedURL, "", 503);

  (void)world_.run();

  EXPECT_THAT(std::get<0>(world_.logger->entries().back()), StartsWith("feedNotLoaded: Unable to Check"));
  EXPECT_EQ(std::get<1>(world_.logger->entries().back()), QuillonLogLevel::error);
}

}  // namespace
}  // namespace quillon
