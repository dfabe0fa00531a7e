#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleAuthorizationOpaqueRef.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleSystemdJobSubmitter.h"
#include "Support/FakeSystemdManager.h"
#include "Support/PrivateBus.h"

namespace quillon {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using testing::FakeSystemdManager;
using ::testing::Not;
using ::testing::Optional;
using ::testing::Pair;
using testing::PrivateBus;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

/// Longer than any machine takes that is busy with other things.
constexpr std::chrono::seconds kTimeLimit{20};

constexpr const char* kUnit = "org.example.App.quillon-updater.service";
constexpr const char* kSecondUnit = "org.example.App.quillon-updater-2.service";
constexpr const char* kLastUnit = "org.example.App.quillon-updater-100.service";

class VeskAppBundleSystemdJobSubmitterTest : public ::testing::Test {
 protected:
  std::optional<VeskUpdateInstallerError> submit(const VeskAppBundleLaunchdJob& job,
                                                 const VeskAppBundleSystemdBusAddresses& addresses,
                                                 const std::function<bool()>& shouldProceed) const {
    const VeskAppBundleLaunchdAuthorization authorization(&granted_, nullptr);
    try {
      VeskAppBundleSystemdJobSubmitter(
          addresses, kTimeLimit, [this] { return mayChangeSystemUnitsSilently_; },
          [this] { return now_ += static_cast<std::uint64_t>(timePerLook_.count()); }, [this] { return environment_; })
          .submit(job, authorization, shouldProceed);
    } catch (const VeskUpdateInstallerError& error) {
      return error;
    }
    return std::nullopt;
  }

  std::optional<VeskUpdateInstallerError> submit(const std::function<bool()>& shouldProceed = [] { return true; }) {
    return submit(job_, {.system = bus_.address(), .user = "unix:path=/no/such/bus"}, shouldProceed);
  }

  /// Submits the job to the user's manager, which alone can be reached.
  std::optional<VeskUpdateInstallerError> submitForUser() {
    job_.domain = VeskAppBundleLaunchdJobDomain::user;
    return submit(job_, {.system = "unix:path=/no/such/bus", .user = bus_.address()}, [] { return true; });
  }

  std::optional<VeskUpdateInstallerError> submitOver(const PrivateBus& bus) const {
    return submit(job_, {.system = bus.address(), .user = "unix:path=/no/such/bus"}, [] { return true; });
  }

  static VeskUpdateInstallerError stillRuns(const std::string& unit) {
    return launchFailure("org.freedesktop.systemd1.UnitExists", EEXIST, "An older job still runs as " + unit + ".");
  }
  static VeskUpdateInstallerError launchFailure(std::string domain, std::int64_t code, std::string description) {
    return VeskUpdateInstallerError::replacementHelperLaunchFailed(
        {.phase = VeskAppBundleInstallerLaunchPhase::jobSubmission,
         .errorDomain = std::move(domain),
         .errorCode = code,
         .errorDescription = std::move(description)});
  }

  PrivateBus bus_;
  bool mayChangeSystemUnitsSilently_ = true;
  /// How far the clock goes between two looks at it.
  std::chrono::nanoseconds timePerLook_{0};
  mutable std::uint64_t now_ = 0;
  std::vector<std::string> environment_ = {"LANG=de_DE.UTF-8"};
  VeskAppBundleAuthorizationOpaqueRef granted_{VeskAppBundleRightGrant::kept};
  VeskAppBundleLaunchdJob job_{.label = "org.example.App.quillon-updater",
                               .domain = VeskAppBundleLaunchdJobDomain::system,
                               .programArguments = {"/opt/installer", "--path", "/Apps/$HOME %i.app", "", "a;b"}};
};

TEST_F(VeskAppBundleSystemdJobSubmitterTest, StartsATransientUnitThatRunsTheArgumentsLiterally) {
  const FakeSystemdManager manager(bus_.address());

  EXPECT_EQ(submit(), std::nullopt);

  const auto units = manager.startedUnits();
  ASSERT_EQ(units.size(), 1U);
  EXPECT_EQ(units[0].name, "org.example.App.quillon-updater.service");
  EXPECT_EQ(units[0].mode, "fail");
  EXPECT_EQ(units[0].programPath, "/opt/installer");
  EXPECT_EQ(units[0].arguments, job_.programArguments);
  EXPECT_THAT(units[0].flags, ElementsAre("no-env-expand"));
  EXPECT_THAT(units[0].textProperties,
              UnorderedElementsAre(Pair("Description", job_.label), Pair("Type", "exec"),
                                   Pair("CollectMode", "inactive-or-failed"), Pair("KillMode", "process")));
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, AJobOfTheUsersHasTheCallersEnvironment) {
  const FakeSystemdManager manager(bus_.address());
  environment_ = {"PATH=/home/someone/bin", "PROMPT=100% $HOME \"a\"\n\x1B[1m"};

  EXPECT_EQ(submitForUser(), std::nullopt);

  EXPECT_EQ(manager.startedUnits().at(0).environment, environment_);
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, AVariableThatNoUnitTakesDoesNotKeepAJobFromStarting) {
  const FakeSystemdManager manager(bus_.address());
  environment_ = {"BASH_FUNC_f%%=() { :; }", "LATIN1=caf\xE9", "INVOCATION_ID=1", "LANG=de_DE.UTF-8"};

  EXPECT_EQ(submitForUser(), std::nullopt);

  EXPECT_THAT(manager.startedUnits().at(0).environment, Optional(ElementsAre("LANG=de_DE.UTF-8")));
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, AJobOfTheSystemsHasNothingOfTheCallersEnvironment) {
  const FakeSystemdManager manager(bus_.address());

  EXPECT_EQ(submit(), std::nullopt);

  EXPECT_EQ(manager.startedUnits().at(0).environment, std::nullopt);
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, RemovesTheOlderJobFirst) {
  const FakeSystemdManager manager(bus_.address(), {.units = {{kUnit, {"active"}}}, .stoppedUnitState = "failed"});

  EXPECT_EQ(submit(), std::nullopt);

  EXPECT_THAT(
      manager.calls(),
      ElementsAre("Subscribe", "ListUnitsByPatterns", "StopUnit org.example.App.quillon-updater.service replace",
                  "ListUnitsByPatterns", "ResetFailedUnit org.example.App.quillon-updater.service",
                  "ListUnitsByPatterns", "StartTransientUnit org.example.App.quillon-updater.service fail"));
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, AnOlderJobThatFailedIsForgotten) {
  const FakeSystemdManager manager(bus_.address(), {.units = {{kUnit, {"failed"}}}});

  EXPECT_EQ(submit(), std::nullopt);

  EXPECT_THAT(manager.calls(), Contains("ResetFailedUnit org.example.App.quillon-updater.service"));
  EXPECT_THAT(manager.calls(), Not(Contains(StartsWith("StopUnit"))));
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, WithoutOlderJobNothingIsAskedThatTakesRights) {
  const FakeSystemdManager manager(bus_.address());

  EXPECT_EQ(submit(), std::nullopt);

  EXPECT_THAT(manager.calls(), ElementsAre("Subscribe", "ListUnitsByPatterns",
                                           "StartTransientUnit org.example.App.quillon-updater.service fail"));
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, NameThatLivingProcessesHoldIsNumbered) {
  const FakeSystemdManager manager(bus_.address(), {.units = {{kUnit, {"inactive"}}, {kSecondUnit, {"inactive"}}}});

  EXPECT_EQ(submit(), std::nullopt);

  const auto units = manager.startedUnits();
  ASSERT_EQ(units.size(), 1U);
  EXPECT_EQ(units[0].name, "org.example.App.quillon-updater-3.service");
  EXPECT_EQ(units[0].textProperties.at("Description"), job_.label);
  EXPECT_THAT(manager.calls(), Not(Contains("StartTransientUnit org.example.App.quillon-updater.service fail")))
      << "each attempt can be a dialog";
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, AnOlderJobUnderAnyNumberIsStopped) {
  const FakeSystemdManager manager(bus_.address(), {.units = {{kSecondUnit, {"active"}}}});

  EXPECT_EQ(submit(), std::nullopt);

  EXPECT_THAT(manager.calls(), Contains("StopUnit org.example.App.quillon-updater-2.service replace"));
  EXPECT_EQ(manager.startedUnits().at(0).name, kUnit);
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, AProgramOfTheSameLabelThatDoesNotEndIsLeftAlone) {
  for (const char* unit : {kUnit, kSecondUnit, kLastUnit}) {
    const PrivateBus bus;
    const FakeSystemdManager manager(bus.address(),
                                     {.units = {{unit, {"active"}}}, .stoppedUnitState = "deactivating"});

    EXPECT_EQ(submitOver(bus), stillRuns(unit));

    EXPECT_TRUE(manager.startedUnits().empty()) << "two installers would replace the same bundle";
  }
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, AProgramThatIsAboutToRunCountsAsOneThatRuns) {
  const FakeSystemdManager manager(
      bus_.address(), {.units = {{kUnit, {.activeState = "inactive", .hasJob = true}}}, .stoppedUnitState = "active"});

  EXPECT_EQ(submit(), stillRuns(kUnit));
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, JobsOfOtherLabelsAreLeftAlone) {
  const FakeSystemdManager manager(bus_.address(),
                                   {.units = {{"org.example.App.quillon-updater-x.service", {"active"}},
                                              {"org.example.App.quillon-updater-1.service", {"active"}},
                                              {"org.example.App.quillon-updater-101.service", {"active"}},
                                              {"org.example.Application.service", {"active"}}}});

  EXPECT_EQ(submit(), std::nullopt);

  EXPECT_THAT(manager.calls(), Not(Contains(StartsWith("StopUnit"))));
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, AnOlderJobIsFoundUnderANameWithEscapes) {
  job_.label = "a b";
  const FakeSystemdManager manager(bus_.address(), {.units = {{"a\\x20b-2.service", {"active"}}}});

  EXPECT_EQ(submit(), std::nullopt);

  EXPECT_THAT(manager.calls(), Contains("StopUnit a\\x20b-2.service replace"));
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, AnOlderJobWhoseEndWouldTakeADialogIsLeftAlone) {
  const FakeSystemdManager manager(bus_.address(), {.units = {{kUnit, {"active"}}}});
  mayChangeSystemUnitsSilently_ = false;

  EXPECT_EQ(submit(), stillRuns(kUnit));

  EXPECT_THAT(manager.calls(), Not(Contains(StartsWith("StopUnit")))) << "it asks even when it is told not to";
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, AnotherLaunchThatWasFasterIsNotJoined) {
  const FakeSystemdManager manager(bus_.address(), {.lateUnits = {{kUnit, {"activating"}}}});

  EXPECT_EQ(submit(), launchFailure("org.freedesktop.systemd1.UnitExists", EEXIST, "Unit was already loaded."));

  EXPECT_TRUE(manager.startedUnits().empty());
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, ANameThatIsTakenMeanwhileIsNumbered) {
  const FakeSystemdManager manager(bus_.address(), {.lateUnits = {{kUnit, {"inactive"}}}});

  EXPECT_EQ(submit(), std::nullopt);

  EXPECT_EQ(manager.startedUnits().at(0).name, kSecondUnit);
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, AProgramThatHoldsItsEndBackHasTenMinutesForThat) {
  const FakeSystemdManager manager(bus_.address());

  (void)submit();

  ASSERT_EQ(manager.startedUnits().size(), 1U);
  EXPECT_THAT(manager.startedUnits()[0].numberProperties, UnorderedElementsAre(Pair("TimeoutStopUSec", 600'000'000U)));
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, TheManagerMayAskAgainOnlyWhenAnAnswerWasNotKept) {
  const FakeSystemdManager manager(bus_.address());
  for (const auto grant :
       {VeskAppBundleRightGrant::none, VeskAppBundleRightGrant::kept, VeskAppBundleRightGrant::once}) {
    granted_.serviceManagementGrant = grant;
    EXPECT_EQ(submit(), std::nullopt);
  }
  job_.domain = VeskAppBundleLaunchdJobDomain::user;
  (void)submit(job_, {.system = "unix:path=/no/such/bus", .user = bus_.address()}, [] { return true; });

  std::vector<bool> mayAsk;
  for (const auto& unit : manager.startedUnits()) mayAsk.push_back(unit.mayAskTheUser);
  EXPECT_THAT(mayAsk, ElementsAre(false, false, true, false));
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, ADialogThatWasOpenTooLongEndsInATimeoutAndTheJobIsStopped) {
  const FakeSystemdManager manager(bus_.address());
  granted_.serviceManagementGrant = VeskAppBundleRightGrant::once;

  const auto error = submit([&] { return manager.startedUnits().empty(); });

  EXPECT_EQ(error, VeskUpdateInstallerError::replacementHelperLaunchTimedOut(
                       VeskAppBundleInstallerLaunchPhase::postAuthorization));
  EXPECT_EQ(manager.calls().back(), "StopUnit org.example.App.quillon-updater.service replace");
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, AJobThatCameTooLateIsNotStoppedWithAThirdDialog) {
  const FakeSystemdManager manager(bus_.address());
  granted_.serviceManagementGrant = VeskAppBundleRightGrant::once;
  mayChangeSystemUnitsSilently_ = false;

  const auto error = submit([&] { return manager.startedUnits().empty(); });

  EXPECT_EQ(error, VeskUpdateInstallerError::replacementHelperLaunchTimedOut(
                       VeskAppBundleInstallerLaunchPhase::postAuthorization));
  EXPECT_THAT(manager.calls(), Not(Contains(StartsWith("StopUnit"))));
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, AJobThatNobodyWasAskedAboutIsSubmittedOnceItRuns) {
  const FakeSystemdManager manager(bus_.address());

  EXPECT_EQ(submit([&] { return manager.startedUnits().empty(); }), std::nullopt);
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, AsksBetweenRemovalAndSubmission) {
  const FakeSystemdManager manager(bus_.address());

  const auto error = submit([&] {
    EXPECT_EQ(manager.calls().back(), "ListUnitsByPatterns");
    return false;
  });

  EXPECT_EQ(error, VeskUpdateInstallerError::replacementHelperLaunchTimedOut(
                       VeskAppBundleInstallerLaunchPhase::postAuthorization));
  EXPECT_TRUE(manager.startedUnits().empty());
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, EndOfTheJobMayBeToldBeforeTheReply) {
  const FakeSystemdManager manager(bus_.address(), {.units = {{kUnit, {"active"}}}, .signalsBeforeReply = true});

  EXPECT_EQ(submit(), std::nullopt);
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, RefusalCarriesTheManagersError) {
  const FakeSystemdManager manager(
      bus_.address(),
      {.startError = FakeSystemdManager::Error{"org.freedesktop.DBus.Error.AccessDenied", "Permission denied"}});

  EXPECT_EQ(submit(), launchFailure("org.freedesktop.DBus.Error.AccessDenied", EACCES, "Permission denied"));
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, ProgramThatCannotBeExecutedIsAFailure) {
  const FakeSystemdManager manager(bus_.address(), {.jobResult = "failed"});

  EXPECT_EQ(submit(), launchFailure("org.freedesktop.systemd1", EIO,
                                    "The service manager could not start org.example.App.quillon-updater.service: "
                                    "failed."));
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, OnlyTheManagerTellsHowAJobEnded) {
  const FakeSystemdManager manager(bus_.address(), {.jobResult = "failed", .forgedJobResult = "done"});

  const auto error = submit();

  ASSERT_TRUE(error.has_value()) << "anybody on the bus can send a signal of the manager's name";
  EXPECT_EQ(std::get<VeskAppBundleInstallerFailureDiagnostic>(error->payload()).errorDomain,
            "org.freedesktop.systemd1");
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, ManagerThatNeverAnswersRunsIntoTheTimeLimit) {
  const FakeSystemdManager manager(bus_.address(), {.jobResult = std::nullopt});
  timePerLook_ = kTimeLimit;

  const auto error = submit();

  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(std::get<VeskAppBundleInstallerFailureDiagnostic>(error->payload()).errorCode, ETIMEDOUT);
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, OtherSignalsDoNotKeepItWaitingBeyondTheTimeLimit) {
  // All of them are there before the reply; the one that is waited for is the last.
  const FakeSystemdManager manager(bus_.address(), {.otherSignals = 100, .signalsBeforeReply = true});
  timePerLook_ = std::chrono::nanoseconds(kTimeLimit) / 50;

  const auto error = submit();

  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(std::get<VeskAppBundleInstallerFailureDiagnostic>(error->payload()).errorCode, ETIMEDOUT);
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, OtherSignalsDoNotHideTheOneThatIsWaitedFor) {
  const FakeSystemdManager manager(bus_.address(), {.otherSignals = 100, .signalsBeforeReply = true});

  EXPECT_EQ(submit(), std::nullopt);
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, BusWithoutManagerIsAFailure) {
  const auto error = submit();

  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(std::get<VeskAppBundleInstallerFailureDiagnostic>(error->payload()).errorDomain,
            "org.freedesktop.DBus.Error.ServiceUnknown");
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, UserJobsGoToTheUsersManager) {
  const FakeSystemdManager manager(bus_.address());
  job_.domain = VeskAppBundleLaunchdJobDomain::user;

  const auto unreachable = submit();
  const auto reached = submit(job_, {.system = "unix:path=/no/such/bus", .user = bus_.address()}, [] { return true; });

  ASSERT_TRUE(unreachable.has_value());
  EXPECT_EQ(std::get<VeskAppBundleInstallerFailureDiagnostic>(unreachable->payload()).errorCode, ENOENT);
  EXPECT_EQ(reached, std::nullopt);
  EXPECT_EQ(manager.startedUnits().size(), 1U);
}

TEST_F(VeskAppBundleSystemdJobSubmitterTest, JobWithoutProgramReachesNoManager) {
  const FakeSystemdManager manager(bus_.address());
  job_.programArguments.clear();

  EXPECT_TRUE(submit().has_value());
  EXPECT_TRUE(manager.calls().empty());
}

TEST(VeskAppBundleSystemdBusAddressesTest, DefaultsDoNotDependOnTheEnvironment) {
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/evil", 1);
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/evil", 1);

  const auto addresses = VeskAppBundleSystemdBusAddresses::systemDefault();

  unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  EXPECT_EQ(addresses.system, "unix:path=/run/dbus/system_bus_socket");
  EXPECT_TRUE(addresses.user.starts_with("unix:path=/run/user/"));
}

}  // namespace
}  // namespace quillon
