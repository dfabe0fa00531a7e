#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdRelauncher.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FakeRelauncher final : public VeskAppBundleReplacementRelaunching {
 public:
  bool relaunchApplication(const QuillonURL& applicationURL) noexcept override {
    relaunched.push_back(applicationURL);
    return answer;
  }

  bool answer = true;
  std::vector<QuillonURL> relaunched;
};

class FakePrivilegeChecker final : public VeskAppBundleReplacementPrivilegeChecking {
 public:
  bool processCanReplaceNonWritableDestination() const noexcept override { return isPrivileged; }

  bool isPrivileged = true;
};

class FakeAuthorizationProvider final : public VeskAppBundleLaunchdAuthorizationProviding {
 public:
  std::unique_ptr<VeskAppBundleLaunchdAuthorization> makeAuthorization() override {
    ++living;
    return std::make_unique<VeskAppBundleLaunchdAuthorization>(reinterpret_cast<VeskAppBundleAuthorizationRef>(this),
                                                               [this](VeskAppBundleAuthorizationRef) { --living; });
  }
  void requestAdministratorRights(const VeskAppBundleLaunchdAuthorization& /*authorization*/,
                                  std::string_view /*customRightName*/, std::string_view /*managementRightName*/,
                                  std::string_view /*prompt*/, const std::function<void()>& /*interactionWillBegin*/,
                                  const std::function<void()>& /*interactionDidEnd*/) override {
    ADD_FAILURE() << "a relaunch never asks the user";
  }
  void requestServiceManagementRightsWithoutInteraction(const VeskAppBundleLaunchdAuthorization& authorization,
                                                        std::string_view rightName) override {
    EXPECT_NE(authorization.authorizationRef(), nullptr);
    requestedRights.emplace_back(rightName);
    if (error) throw VeskUpdateInstallerError(*error);
  }

  int living = 0;
  std::vector<std::string> requestedRights;
  std::optional<VeskUpdateInstallerError> error;
};

class FakeJobSubmitter final : public VeskAppBundleLaunchdJobSubmitting {
 public:
  void submit(const VeskAppBundleLaunchdJob& job, const VeskAppBundleLaunchdAuthorization& authorization,
              const std::function<bool()>& shouldProceed) override {
    EXPECT_NE(authorization.authorizationRef(), nullptr);
    EXPECT_TRUE(shouldProceed());
    submitted.push_back(job);
    if (error) throw VeskUpdateInstallerError(*error);
  }

  std::vector<VeskAppBundleLaunchdJob> submitted;
  std::optional<VeskUpdateInstallerError> error;
};

class VeskAppBundleLaunchdRelauncherTest : public ::testing::Test {
 protected:
  VeskAppBundleLaunchdRelauncherTest() { writeInformation("{ CFBundleIdentifier = \"org.example.Foo\"; }"); }

  void writeInformation(std::string_view text) {
    testing::writeFile(folder_ / "Foo Bar.app/Contents/Info.plist", text);
  }

  VeskAppBundleLaunchdRelauncher relauncher() {
    return {workspace_,
            privileges_,
            authorizations_,
            submitter_,
            userContext_,
            std::make_shared<QuillonPosixFileManager>(),
            {.launchctl = "/bin/launchctl", .open = "/usr/bin/open"},
            [this](std::string_view line) { log_.emplace_back(line); }};
  }

  std::shared_ptr<FakeRelauncher> workspace_ = std::make_shared<FakeRelauncher>();
  std::shared_ptr<FakePrivilegeChecker> privileges_ = std::make_shared<FakePrivilegeChecker>();
  std::shared_ptr<FakeAuthorizationProvider> authorizations_ = std::make_shared<FakeAuthorizationProvider>();
  std::shared_ptr<FakeJobSubmitter> submitter_ = std::make_shared<FakeJobSubmitter>();
  std::optional<VeskAppBundleLaunchdUserContext> userContext_ = VeskAppBundleLaunchdUserContext{
      .userIdentifier = 501, .groupIdentifier = 20, .userName = "someone", .homeDirectory = "/Users/someone"};
  testing::TemporaryDirectory folder_;
  QuillonURL application_ = QuillonURL::fileURL((folder_ / "Foo Bar.app").string());
  std::vector<std::string> log_;
};

TEST_F(VeskAppBundleLaunchdRelauncherTest, UnprivilegedRelaunchIsTheWorkspaces) {
  privileges_->isPrivileged = false;
  EXPECT_TRUE(relauncher().relaunchApplication(application_));
  workspace_->answer = false;
  EXPECT_FALSE(relauncher().relaunchApplication(application_));

  EXPECT_THAT(workspace_->relaunched, ElementsAre(application_, application_));
  EXPECT_THAT(submitter_->submitted, IsEmpty());
}

TEST_F(VeskAppBundleLaunchdRelauncherTest, PrivilegedRelaunchOpensTheApplicationAsItsUser) {
  EXPECT_TRUE(relauncher().relaunchApplication(application_));

  const VeskAppBundleLaunchdJob expected{
      .label = "org.example.Foo.quillon-relaunch",
      .domain = VeskAppBundleLaunchdJobDomain::system,
      .programArguments = {"/bin/launchctl", "asuser", "501", "/usr/bin/open", application_.path()}};
  EXPECT_THAT(submitter_->submitted, ElementsAre(expected));
  EXPECT_THAT(authorizations_->requestedRights, ElementsAre("com.apple.ServiceManagement.daemons.modify"));
  EXPECT_THAT(workspace_->relaunched, IsEmpty());
  EXPECT_THAT(log_, IsEmpty());
}

TEST_F(VeskAppBundleLaunchdRelauncherTest, WithoutUserTheJobGoesToTheUserDomain) {
  userContext_.reset();

  EXPECT_TRUE(relauncher().relaunchApplication(application_));

  const VeskAppBundleLaunchdJob expected{.label = "org.example.Foo.quillon-relaunch",
                                         .domain = VeskAppBundleLaunchdJobDomain::user,
                                         .programArguments = {"/usr/bin/open", application_.path()}};
  EXPECT_THAT(submitter_->submitted, ElementsAre(expected));
  EXPECT_THAT(authorizations_->requestedRights, IsEmpty());
}

TEST_F(VeskAppBundleLaunchdRelauncherTest, LargestUserIdentifierIsWrittenInDecimal) {
  userContext_->userIdentifier = 4294967294U;

  EXPECT_EQ(relauncher().relaunchJob(application_).programArguments.at(2), "4294967294");
}

TEST_F(VeskAppBundleLaunchdRelauncherTest, BundleWithoutIdentifierHasAFixedLabel) {
  writeInformation("{ CFBundleName = Foo; }");
  EXPECT_EQ(relauncher().relaunchLabel(application_), "io.quillon.application-relaunch");

  writeInformation("{ CFBundleIdentifier = \"\"; }");
  EXPECT_EQ(relauncher().relaunchLabel(application_), "io.quillon.application-relaunch");

  writeInformation("no property list (");
  EXPECT_EQ(relauncher().relaunchLabel(application_), "io.quillon.application-relaunch");
}

TEST_F(VeskAppBundleLaunchdRelauncherTest, RefusedSubmissionAnswersFalseAndLeavesALine) {
  submitter_->error = VeskUpdateInstallerError::replacementHelperLaunchFailed(
      {.phase = VeskAppBundleInstallerLaunchPhase::jobSubmission,
       .errorDomain = "manager",
       .errorCode = 5,
       .errorDescription = "no"});

  EXPECT_FALSE(relauncher().relaunchApplication(application_));

  EXPECT_THAT(log_, ElementsAre("VeskAppBundleLaunchdRelauncher: Failed to submit the relaunch job; "
                                "path=" +
                                application_.path() +
                                " error=replacementHelperLaunchFailed("
                                "phase=jobSubmission domain=manager code=5 description=no)"));
  EXPECT_THAT(workspace_->relaunched, IsEmpty()) << "root must not open the application itself";
}

TEST_F(VeskAppBundleLaunchdRelauncherTest, RefusedRightsSubmitNothing) {
  authorizations_->error = VeskUpdateInstallerError::authorizationDenied({.status = -60005, .message = {}});

  EXPECT_FALSE(relauncher().relaunchApplication(application_));

  EXPECT_THAT(submitter_->submitted, IsEmpty());
  EXPECT_EQ(log_.size(), 1U);
}

TEST_F(VeskAppBundleLaunchdRelauncherTest, AuthorizationIsReleasedWhateverTheOutcome) {
  (void)relauncher().relaunchApplication(application_);
  EXPECT_EQ(authorizations_->living, 0);

  submitter_->error = VeskUpdateInstallerError::replacementFailed();
  (void)relauncher().relaunchApplication(application_);
  EXPECT_EQ(authorizations_->living, 0);
}

}  // namespace
}  // namespace quillon
