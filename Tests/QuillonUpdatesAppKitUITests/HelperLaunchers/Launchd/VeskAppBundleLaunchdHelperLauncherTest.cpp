#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdHelperLauncher.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using Phase = VeskAppBundleInstallerLaunchPhase;
using Progress = VeskAppBundleInstallerLaunchProgress;
using Result = VeskAppBundleReplacementLaunchResult;

/// What was asked of whom, in order.
using Events = std::vector<std::string>;
using Hook = std::function<void()>;

class FakePermissionChecker final : public VeskAppBundleReplacementPermissionChecking {
 public:
  explicit FakePermissionChecker(Events& events) : events_(events) {}
  bool destinationParentIsWritable(const QuillonURL& installedApplicationURL) const noexcept override {
    events_.push_back("writable? " + installedApplicationURL.path());
    return answer;
  }

  bool answer = false;

 private:
  Events& events_;
};

class FakeOwnershipMatcher final : public VeskAppBundleReplacementOwnershipMatching {
 public:
  explicit FakeOwnershipMatcher(Events& events) : events_(events) {}
  bool processCanMatchInstalledOwnership(const QuillonURL& installedApplicationURL) const noexcept override {
    events_.push_back("ownership? " + installedApplicationURL.path());
    return answer;
  }
  void matchOwnerAndGroupOfItem(const QuillonURL& /*root*/, const QuillonURL& /*reference*/) const override {
    ADD_FAILURE() << "a launcher changes no owners";
  }

  bool answer = true;

 private:
  Events& events_;
};

class FakeAuthorizationProvider final : public VeskAppBundleLaunchdAuthorizationProviding {
 public:
  explicit FakeAuthorizationProvider(Events& events) : events_(events) {}
  std::unique_ptr<VeskAppBundleLaunchdAuthorization> makeAuthorization() override {
    events_.emplace_back("make authorization");
    if (onMake) onMake();
    return std::make_unique<VeskAppBundleLaunchdAuthorization>(
        reinterpret_cast<VeskAppBundleAuthorizationRef>(this),
        [this](VeskAppBundleAuthorizationRef) { events_.emplace_back("free authorization"); });
  }
  void requestAdministratorRights(const VeskAppBundleLaunchdAuthorization& authorization,
                                  std::string_view customRightName, std::string_view serviceManagementRightName,
                                  std::string_view prompt, const Hook& interactionWillBegin,
                                  const Hook& interactionDidEnd) override {
    EXPECT_EQ(authorization.authorizationRef(), reinterpret_cast<VeskAppBundleAuthorizationRef>(this));
    events_.push_back("request " + std::string(customRightName) + " " + std::string(serviceManagementRightName));
    prompts.emplace_back(prompt);
    if (callsWillBegin) interactionWillBegin();
    if (onDialog) onDialog();
    interactionDidEnd();
    if (afterDialog) afterDialog();
  }
  void requestServiceManagementRightsWithoutInteraction(const VeskAppBundleLaunchdAuthorization& /*authorization*/,
                                                        std::string_view /*rightName*/) override {
    ADD_FAILURE() << "the installer's job needs an administrator's word";
  }

  Hook onMake;
  Hook onDialog;
  Hook afterDialog;
  bool callsWillBegin = true;
  std::vector<std::string> prompts;

 private:
  Events& events_;
};

class FakeJobSubmitter final : public VeskAppBundleLaunchdJobSubmitting {
 public:
  explicit FakeJobSubmitter(Events& events) : events_(events) {}
  void submit(const VeskAppBundleLaunchdJob& job, const VeskAppBundleLaunchdAuthorization& authorization,
              const std::function<bool()>& shouldProceed) override {
    EXPECT_NE(authorization.authorizationRef(), nullptr);
    events_.push_back("submit " + job.label);
    if (onSubmit) onSubmit();
    if (!shouldProceed()) throw VeskUpdateInstallerError::replacementHelperLaunchTimedOut(Phase::postAuthorization);
    submitted.push_back(job);
  }

  Hook onSubmit;
  std::vector<VeskAppBundleLaunchdJob> submitted;

 private:
  Events& events_;
};

/// Answers true until its n-th call.
class Limit {
 public:
  bool ask() { return ++calls_ < failingCall_; }
  void failAtCall(int call) { failingCall_ = call; }
  [[nodiscard]] int calls() const noexcept { return calls_; }

 private:
  int calls_ = 0;
  int failingCall_ = 1000;
};

class VeskAppBundleLaunchdHelperLauncherTest : public ::testing::Test {
 protected:
  VeskAppBundleLaunchdHelperLauncher launcher() {
    return {permissions_,
            ownership_,
            authorizations_,
            submitter_,
            [] { return 4711; },
            [this] {
              events_.emplace_back("user?");
              return user_;
            },
            [this] { return preAuthorization_.ask(); },
            [this] { events_.emplace_back("post phase begins"); },
            [this] { return postAuthorization_.ask(); },
            [this] { return now_; },
            [this](const QuillonURL& application, std::string_view key) {
              const auto text = translations_.find(std::string(key));
              EXPECT_EQ(application, request_.installedApplicationURL);
              return text == translations_.end() ? std::string(key) : text->second;
            }};
  }

  Result launch() {
    return launcher().launchReplacement(request_, [this](const Progress& progress) {
      events_.push_back("progress " + std::string(progress.caseName()));
      progress_.push_back(progress);
    });
  }

  void needNoAuthorization() {
    permissions_->answer = true;
    ownership_->answer = true;
  }

  Events events_;
  std::shared_ptr<FakePermissionChecker> permissions_ = std::make_shared<FakePermissionChecker>(events_);
  std::shared_ptr<FakeOwnershipMatcher> ownership_ = std::make_shared<FakeOwnershipMatcher>(events_);
  std::shared_ptr<FakeAuthorizationProvider> authorizations_ = std::make_shared<FakeAuthorizationProvider>(events_);
  std::shared_ptr<FakeJobSubmitter> submitter_ = std::make_shared<FakeJobSubmitter>(events_);
  VeskAppBundleLaunchdUserContext user_{
      .userIdentifier = 501, .groupIdentifier = 20, .userName = "someone", .homeDirectory = "/Users/someone"};
  Limit preAuthorization_;
  Limit postAuthorization_;
  std::uint64_t now_ = 1000;
  std::map<std::string, std::string> translations_;
  std::vector<Progress> progress_;
  VeskAppBundleReplacementRequest request_{
      .stagedApplicationURL = QuillonURL::fileURL("/tmp/staging/Foo.app"),
      .installedApplicationURL = QuillonURL::fileURL("/Applications/Foo.app"),
      .helperExecutableURL = QuillonURL::fileURL("/Applications/Foo.app/Contents/MacOS/QuillonUpdateInstaller"),
      .hostIdentity = VeskAppBundleUpdateHostIdentity{.bundleIdentifier = "org.example.App",
                                                      .applicationVersion = "1.0",
                                                      .applicationBuild = 100,
                                                      .expectedTeamIdentifier = {},
                                                      .allowsSameBuildReplacement = false},
      .shouldRequestAuthorizationIfNeeded = true,
      .launchUserContext = {},
      .failureReportURL = {},
      .failureReportAttemptIdentifier = {}};
};

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, ALaunchWithAuthorizationTakesEveryStepInOrder) {
  EXPECT_EQ(launch(), Result::launched());

  EXPECT_THAT(events_,
              ElementsAre("writable? /Applications/Foo.app", "ownership? /Applications/Foo.app",
                          "progress authorizationRequired", "make authorization",
                          "request org.example.App.quillon-update com.apple.ServiceManagement.daemons.modify",
                          "progress authorizationBegan", "progress authorizationEnded", "post phase begins", "user?",
                          "submit org.example.App.quillon-updater", "progress jobSubmitted", "free authorization"));
  EXPECT_EQ(preAuthorization_.calls(), 3);
  EXPECT_EQ(postAuthorization_.calls(), 2);
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, ARequestWithoutHelperExecutableIsAnsweredBeforeAnyCheckRuns) {
  request_.helperExecutableURL.reset();

  EXPECT_EQ(launch(), Result::helperUnavailable());

  EXPECT_THAT(events_, IsEmpty());
  EXPECT_EQ(preAuthorization_.calls(), 0);
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, AWritableParentWhoseOwnershipCanBeKeptNeedsNoAuthorization) {
  needNoAuthorization();

  EXPECT_EQ(launch(), Result::launched());

  EXPECT_THAT(events_,
              ElementsAre("writable? /Applications/Foo.app", "ownership? /Applications/Foo.app", "make authorization",
                          "post phase begins", "user?", "submit org.example.App.quillon-updater",
                          "progress jobSubmitted", "free authorization"));
  ASSERT_EQ(submitter_->submitted.size(), 1U);
  EXPECT_EQ(submitter_->submitted[0].domain, VeskAppBundleLaunchdJobDomain::system);
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, WhyAuthorizationIsNeededIsReported) {
  permissions_->answer = true;
  ownership_->answer = false;
  (void)launch();
  permissions_->answer = false;
  ownership_->answer = true;
  (void)launch();
  ownership_->answer = false;
  (void)launch();

  std::vector<Progress> reasons;
  for (const Progress& progress : progress_) {
    if (progress.caseName() == "authorizationRequired") reasons.push_back(progress);
  }
  EXPECT_THAT(reasons, ElementsAre(Progress::authorizationRequired({true, false}),
                                   Progress::authorizationRequired({false, true}),
                                   Progress::authorizationRequired({false, false})));
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, ARequestThatMayNotAskIsDeniedWithoutDialog) {
  request_.shouldRequestAuthorizationIfNeeded = false;

  EXPECT_EQ(launch(), Result::authorizationDenied(-60005));

  EXPECT_THAT(progress_, ElementsAre(Progress::authorizationRequired({false, true})));
  EXPECT_THAT(events_, ElementsAre("writable? /Applications/Foo.app", "ownership? /Applications/Foo.app",
                                   "progress authorizationRequired"));
  EXPECT_EQ(preAuthorization_.calls(), 0);
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, ARequestThatMayNotAskIsLaunchedWhereNoAuthorizationIsNeeded) {
  request_.shouldRequestAuthorizationIfNeeded = false;
  needNoAuthorization();

  EXPECT_EQ(launch(), Result::launched());
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, TimeThatIsUpBeforeTheAuthorizationMakesNone) {
  preAuthorization_.failAtCall(1);

  EXPECT_EQ(launch(), Result::timedOut(Phase::preAuthorization));

  EXPECT_EQ(events_.back(), "progress authorizationRequired");
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, TimeThatRunsOutWhileTheAuthorizationIsMadeShowsNoDialog) {
  preAuthorization_.failAtCall(2);

  EXPECT_EQ(launch(), Result::timedOut(Phase::preAuthorization));

  EXPECT_THAT(authorizations_->prompts, IsEmpty());
  EXPECT_EQ(events_.back(), "free authorization");
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, BothChecksBeforeTheAuthorizationAlsoHoldWithoutDialog) {
  needNoAuthorization();
  preAuthorization_.failAtCall(1);
  EXPECT_EQ(launch(), Result::timedOut(Phase::preAuthorization));

  preAuthorization_ = Limit();
  preAuthorization_.failAtCall(2);
  EXPECT_EQ(launch(), Result::timedOut(Phase::preAuthorization));

  EXPECT_THAT(submitter_->submitted, IsEmpty());
  EXPECT_THAT(progress_, IsEmpty());
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, TimeThatIsUpWhenTheDialogWouldOpenEndsTheLaunch) {
  preAuthorization_.failAtCall(3);

  EXPECT_EQ(launch(), Result::timedOut(Phase::preAuthorization));

  EXPECT_THAT(progress_, ElementsAre(Progress::authorizationRequired({false, true})));
  EXPECT_EQ(events_.back(), "free authorization");
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, TimeThatIsUpAfterTheDialogSubmitsNothing) {
  postAuthorization_.failAtCall(1);

  EXPECT_EQ(launch(), Result::timedOut(Phase::postAuthorization));

  EXPECT_EQ(progress_.back().caseName(), "authorizationEnded");
  EXPECT_EQ(events_.back(), "free authorization");
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, TheLastMomentCheckIsThatOfThePhaseAfterTheDialog) {
  postAuthorization_.failAtCall(2);

  EXPECT_EQ(launch(), Result::timedOut(Phase::postAuthorization));

  EXPECT_THAT(submitter_->submitted, IsEmpty());
  EXPECT_EQ(postAuthorization_.calls(), 2);
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, TheTimeThatTheDialogTookIsReported) {
  authorizations_->onDialog = [this] { now_ += 2500; };

  (void)launch();

  EXPECT_EQ(progress_.at(2), Progress::authorizationEnded(2500));
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, AClockThatWentBackCountsAsNoTime) {
  authorizations_->onDialog = [this] { now_ -= 1; };

  (void)launch();

  EXPECT_EQ(progress_.at(2), Progress::authorizationEnded(0));
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, AnEndWithoutBeginningCountsAsNoTime) {
  authorizations_->callsWillBegin = false;

  EXPECT_EQ(launch(), Result::launched());

  EXPECT_THAT(progress_, ElementsAre(Progress::authorizationRequired({false, true}), Progress::authorizationEnded(0),
                                     Progress::jobSubmitted()));
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, ADialogThatStartedAtTheClocksZeroIsMeasured) {
  now_ = 0;
  authorizations_->onDialog = [this] { now_ = 7; };

  (void)launch();

  EXPECT_EQ(progress_.at(2), Progress::authorizationEnded(7));
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, TheJobRunsTheHelperWithTheRequestsArguments) {
  (void)launch();

  ASSERT_EQ(submitter_->submitted.size(), 1U);
  const VeskAppBundleLaunchdJob& job = submitter_->submitted[0];
  std::vector<std::string> expected = request_.helperArguments(4711, user_);
  expected.insert(expected.begin(), "/Applications/Foo.app/Contents/MacOS/QuillonUpdateInstaller");
  EXPECT_EQ(job.label, "org.example.App.quillon-updater");
  EXPECT_EQ(job.domain, VeskAppBundleLaunchdJobDomain::system);
  EXPECT_THAT(job.programArguments, ElementsAreArray(expected));
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, TheRequestsOwnUserWinsAndNobodyElseIsAskedFor) {
  request_.launchUserContext = VeskAppBundleLaunchdUserContext{
      .userIdentifier = 502, .groupIdentifier = 21, .userName = "other", .homeDirectory = "/Users/other"};

  (void)launch();

  ASSERT_EQ(submitter_->submitted.size(), 1U);
  std::vector<std::string> expected = request_.helperArguments(4711);
  expected.insert(expected.begin(), "/Applications/Foo.app/Contents/MacOS/QuillonUpdateInstaller");
  EXPECT_THAT(submitter_->submitted[0].programArguments, ElementsAreArray(expected));
  EXPECT_THAT(events_, ::testing::Not(::testing::Contains("user?")));
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, NamesAreMadeFromTheHostsIdentifier) {
  EXPECT_EQ(VeskAppBundleLaunchdHelperLauncher::launchdLabel(request_), "org.example.App.quillon-updater");
  EXPECT_EQ(VeskAppBundleLaunchdHelperLauncher::authorizationRightName(request_), "org.example.App.quillon-update");
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, AHostWithoutIdentifierHasFixedNames) {
  request_.hostIdentity->bundleIdentifier.clear();
  EXPECT_EQ(VeskAppBundleLaunchdHelperLauncher::launchdLabel(request_), "io.quillon.application.quillon-updater");
  EXPECT_EQ(VeskAppBundleLaunchdHelperLauncher::authorizationRightName(request_),
            "io.quillon.application.quillon-update");

  request_.hostIdentity.reset();
  EXPECT_EQ(VeskAppBundleLaunchdHelperLauncher::launchdLabel(request_), "io.quillon.application.quillon-updater");
  EXPECT_EQ(VeskAppBundleLaunchdHelperLauncher::authorizationRightName(request_),
            "io.quillon.application.quillon-update");
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, ThePromptNamesTheInstalledApplication) {
  (void)launch();

  EXPECT_THAT(authorizations_->prompts, ElementsAre("Foo needs permission to update the installed app."));
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, ThePromptIsInTheUsersLanguage) {
  translations_["%@ needs permission to update the installed app."] = "Zum Aktualisieren braucht %@ eine Erlaubnis.";

  EXPECT_EQ(launcher().authorizationPrompt(request_), "Zum Aktualisieren braucht Foo eine Erlaubnis.");
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, AnApplicationWithoutNameIsTheApp) {
  request_.installedApplicationURL = QuillonURL::fileURL("/");

  EXPECT_EQ(launcher().authorizationPrompt(request_), "The app needs permission to update the installed app.");
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, AnApplicationsNameIsNoFormat) {
  request_.installedApplicationURL = QuillonURL::fileURL("/Applications/100%@.app");

  EXPECT_EQ(launcher().authorizationPrompt(request_), "100%@ needs permission to update the installed app.");
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, ADenialAndACancellationKeepTheirStatus) {
  authorizations_->afterDialog = [] {
    throw VeskUpdateInstallerError::authorizationDenied({.status = -60007, .message = {}});
  };
  EXPECT_EQ(launch(), Result::authorizationDenied(-60007));

  authorizations_->afterDialog = [] {
    throw VeskUpdateInstallerError::authorizationCancelled({.status = -60006, .message = {}});
  };
  EXPECT_EQ(launch(), Result::authorizationCancelled(-60006));

  EXPECT_THAT(submitter_->submitted, IsEmpty());
  EXPECT_EQ(events_.back(), "free authorization");
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, AnAuthorizationThatCannotBeMadeHasItsStatus) {
  authorizations_->onMake = [] {
    throw VeskUpdateInstallerError::authorizationDenied({.status = -60008, .message = {}});
  };

  EXPECT_EQ(launch(), Result::authorizationDenied(-60008));
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, ARefusedSubmissionKeepsItsDiagnostic) {
  const VeskAppBundleInstallerFailureDiagnostic diagnostic{.phase = Phase::jobSubmission,
                                                           .errorDomain = "org.freedesktop.DBus.Error.AccessDenied",
                                                           .errorCode = 13,
                                                           .errorDescription = "Access denied"};
  submitter_->onSubmit = [&] { throw VeskUpdateInstallerError::replacementHelperLaunchFailed(diagnostic); };

  EXPECT_EQ(launch(), Result::launchFailed(diagnostic));

  EXPECT_EQ(events_.back(), "free authorization");
  EXPECT_EQ(progress_.back().caseName(), "authorizationEnded");
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, AnUnexpectedFailureNamesThePhaseItHappenedIn) {
  authorizations_->onMake = [] { throw std::runtime_error("made wrong"); };
  EXPECT_EQ(launch(),
            Result::launchFailed(
                {.phase = Phase::authorization, .errorDomain = {}, .errorCode = {}, .errorDescription = "made wrong"}));

  authorizations_->onMake = nullptr;
  submitter_->onSubmit = [] { throw QuillonCancellationError(); };
  EXPECT_EQ(launch(), Result::launchFailed({.phase = Phase::jobSubmission,
                                            .errorDomain = {},
                                            .errorCode = {},
                                            .errorDescription = "The operation was cancelled."}));

  authorizations_->onDialog = [] { throw 7; };
  EXPECT_EQ(launch(), Result::launchFailed(
                          {.phase = Phase::authorization, .errorDomain = {}, .errorCode = {}, .errorDescription = {}}));
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, AProgressHandlerThatThrowsEndsNothing) {
  const Result result = launcher().launchReplacement(request_, [](const Progress&) { throw std::runtime_error("no"); });

  EXPECT_EQ(result, Result::launched());
  EXPECT_EQ(submitter_->submitted.size(), 1U);
}

TEST_F(VeskAppBundleLaunchdHelperLauncherTest, NobodyNeedsToListen) {
  EXPECT_EQ(launcher().launchReplacement(request_, nullptr), Result::launched());
}

}  // namespace
}  // namespace quillon
