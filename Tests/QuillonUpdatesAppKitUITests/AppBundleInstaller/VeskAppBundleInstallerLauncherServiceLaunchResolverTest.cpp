#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceLaunchResolver.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceRefusal.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessage.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessageKeys.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/ReplacementRequestBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Keys = VeskAppBundleXPCReplacementMessageKeys;
using Refusal = VeskAppBundleInstallerLauncherServiceRefusal;
using User = VeskAppBundleLaunchdUserContext;
using Value = QuillonPropertyListValue;

class RelocatedFileManager final : public QuillonPosixFileManager {
 public:
  explicit RelocatedFileManager(std::vector<QuillonURL> supportFolders) : supportFolders_(std::move(supportFolders)) {}
  [[nodiscard]] std::vector<QuillonURL> applicationSupportDirectories() const override { return supportFolders_; }

 private:
  std::vector<QuillonURL> supportFolders_;
};

/// Adds a team to what was requested, and notes whom it was asked about.
class FakeHostIdentityResolver final : public VeskAppBundleInstallerLauncherServiceHostIdentityResolving {
 public:
  [[nodiscard]] VeskAppBundleUpdateHostIdentity makeHostIdentity(
      const QuillonURL& application, const VeskAppBundleUpdateHostIdentity& requested) const override {
    asked.push_back(application);
    if (refuses) throw Refusal("somebody else");
    VeskAppBundleUpdateHostIdentity identity = requested;
    identity.expectedTeamIdentifier = "OWNTEAM";
    return identity;
  }

  bool refuses = false;
  mutable std::vector<QuillonURL> asked;
};

/// A host that asks for the replacement of the application that contains the service.
class VeskAppBundleInstallerLauncherServiceLaunchResolverTest : public ::testing::Test {
 protected:
  VeskAppBundleInstallerLauncherServiceLaunchResolverTest() {
    testing::makeApplicationBundle(application, {});
    testing::makeApplicationBundle(staged, {.version = "2.0", .build = "2"});
    testing::writeFile(helper, "#!/bin/sh\n");
    fs::permissions(helper, fs::perms(0755));
    containing = url(application);
  }

  static QuillonURL url(const fs::path& path) { return QuillonURL::fileURL(path.string()); }

  [[nodiscard]] VeskAppBundleReplacementRequest request() const {
    VeskAppBundleReplacementRequest request = testing::makeReplacementRequest(staged, application);
    request.hostIdentity->allowsSameBuildReplacement = true;
    request.shouldRequestAuthorizationIfNeeded = true;
    request.failureReportAttemptIdentifier = "attempt-1";
    return request;
  }

  [[nodiscard]] VeskAppBundleXPCReplacementLaunch make(const Value::Dictionary& message) const {
    const VeskAppBundleInstallerLauncherServiceLaunchResolver resolver(
        [this] { return containing; }, identities, [this] { return peer; }, [] { return 4242; }, files,
        [this](std::string_view line) { log.emplace_back(line); });
    return resolver.makeLaunch(message);
  }
  [[nodiscard]] VeskAppBundleXPCReplacementLaunch make(const VeskAppBundleReplacementRequest& request) const {
    return make(VeskAppBundleXPCReplacementMessage{request}.propertyList());
  }

  [[nodiscard]] std::string refusal(const VeskAppBundleReplacementRequest& request) const {
    return refusal(VeskAppBundleXPCReplacementMessage{request}.propertyList());
  }
  [[nodiscard]] std::string refusal(const Value::Dictionary& message) const {
    try {
      (void)make(message);
      return "not refused";
    } catch (const Refusal& error) {
      EXPECT_EQ(error, VeskUpdateInstallerError::replacementLaunchFailed());
      return error.reason();
    }
  }

  [[nodiscard]] bool helperIsUnavailable() const {
    try {
      (void)make(request());
      return false;
    } catch (const VeskUpdateInstallerError& error) {
      return error.code() == VeskUpdateInstallerError::Code::replacementHelperUnavailable;
    }
  }

  testing::TemporaryDirectory folder;
  fs::path application = fs::canonical(folder.path()) / "Applications/App.app";
  fs::path staged = fs::canonical(folder.path()) / "Staging/App.app";
  fs::path programs = application / "Contents/MacOS";
  fs::path helper = programs / "QuillonUpdateInstaller";
  std::optional<QuillonURL> containing;
  User peer{.userIdentifier = 1000, .groupIdentifier = 1000, .userName = "jane", .homeDirectory = "/home/jane"};
  std::shared_ptr<FakeHostIdentityResolver> identities = std::make_shared<FakeHostIdentityResolver>();
  std::shared_ptr<const QuillonFileManaging> files =
      std::make_shared<RelocatedFileManager>(std::vector{QuillonURL::fileURL("/home/jane/.local/share")});
  mutable std::vector<std::string> log;
};

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest,
       ARequestForTheContainingApplicationBecomesACompleteLaunch) {
  const auto launch = make(request());

  VeskAppBundleReplacementRequest expected = request();
  expected.helperExecutableURL = url(helper);
  expected.hostIdentity->expectedTeamIdentifier = "OWNTEAM";
  expected.launchUserContext = peer;
  expected.failureReportURL = QuillonURL::fileURL(
      "/home/jane/.local/share/org.example.App/SeamlessInstaller/QuillonUpdateInstallerFailure.plist");
  EXPECT_EQ(launch.request, expected);
  EXPECT_EQ(launch.hostProcessIdentifier, 4242);
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, AMessageThatCannotBeReadIsRefusedAndTheLogSaysWhy) {
  auto message = VeskAppBundleXPCReplacementMessage{request()}.propertyList();
  message.insert_or_assign(std::string(Keys::applicationBuild), Value("many"));

  EXPECT_EQ(refusal(message), "The request cannot be read.");
  EXPECT_THAT(log, ElementsAre(AllOf(
                       HasSubstr("VeskAppBundleInstallerLauncherServiceLaunchResolver: The request cannot be read."),
                       HasSubstr("applicationBuild"))));
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, AnEmptyMessageIsRefused) {
  EXPECT_EQ(refusal(Value::Dictionary{}), "The request cannot be read.");
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, ARequestWithoutHostIdentityIsRefused) {
  VeskAppBundleReplacementRequest anonymous = request();
  anonymous.hostIdentity.reset();

  EXPECT_EQ(refusal(anonymous), "The request cannot be read.");
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, AServiceOutsideOfApplicationsRefusesEverything) {
  containing.reset();

  EXPECT_EQ(refusal(request()), "The service is not inside an application.");
  EXPECT_THAT(identities->asked, IsEmpty());
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, AContainingApplicationThatIsGoneIsRefused) {
  containing = url(folder / "Gone.app");

  EXPECT_EQ(refusal(request()), "The containing application cannot be found.");
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, AnotherApplicationIsRefused) {
  testing::makeApplicationBundle(folder / "Applications/Other.app", {});
  VeskAppBundleReplacementRequest other = request();
  other.installedApplicationURL = url(folder / "Applications/Other.app");

  EXPECT_EQ(refusal(other), "The request names another application than the one that contains the service.");
  EXPECT_THAT(log, ElementsAre(AllOf(HasSubstr("Other.app"), HasSubstr(application.string()))));
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest,
       AFolderInsideOrAroundTheApplicationIsAnotherApplication) {
  for (const fs::path& place : {application / "Contents", application.parent_path()}) {
    VeskAppBundleReplacementRequest other = request();
    other.installedApplicationURL = url(place);

    EXPECT_EQ(refusal(other), "The request names another application than the one that contains the service.");
  }
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, AnInstalledApplicationThatDoesNotExistIsRefused) {
  VeskAppBundleReplacementRequest missing = request();
  missing.installedApplicationURL = url(folder / "None.app");

  EXPECT_EQ(refusal(missing), "The installed application cannot be found.");
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest,
       LinksOnEitherSideLeadToTheSameApplicationAndAreNotPassedOn) {
  fs::create_directory_symlink(application.parent_path(), folder / "First");
  fs::create_directory_symlink(application, folder / "Second.app");
  fs::create_directory_symlink(staged.parent_path(), folder / "Third");
  VeskAppBundleReplacementRequest linked = request();
  linked.installedApplicationURL = url(folder / "First/App.app");
  linked.stagedApplicationURL = url(folder / "Third/App.app");
  containing = url(folder / "Second.app");

  const auto launch = make(linked);

  EXPECT_EQ(launch.request.installedApplicationURL, url(application));
  EXPECT_EQ(launch.request.stagedApplicationURL, url(staged));
  EXPECT_EQ(launch.request.helperExecutableURL, url(helper));
  EXPECT_THAT(identities->asked, ElementsAre(url(application)));
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, AStagedApplicationThatDoesNotExistIsRefused) {
  VeskAppBundleReplacementRequest missing = request();
  missing.stagedApplicationURL = url(folder / "None.app");

  EXPECT_EQ(refusal(missing), "The staged application cannot be found.");
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, AFailureReportGoesWhereTheRequestWantsIt) {
  VeskAppBundleReplacementRequest reporting = request();
  reporting.failureReportURL = url(fs::canonical(folder.path()) / "Reports/Failure.plist");

  EXPECT_EQ(make(reporting).request.failureReportURL, reporting.failureReportURL);
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, LinksToAFailureReportAreResolvedAndNotPassedOn) {
  fs::create_directory_symlink(staged.parent_path(), folder / "Reports");
  VeskAppBundleReplacementRequest reporting = request();
  reporting.failureReportURL = url(folder / "Reports/Failure.plist");

  EXPECT_EQ(make(reporting).request.failureReportURL, url(staged.parent_path() / "Failure.plist"));
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest,
       AFailureReportWhereTheUserMayNotWriteIsRefusedAndTheLogSaysWhere) {
  VeskAppBundleReplacementRequest reporting = request();
  reporting.failureReportURL = url(helper / "Failure.plist");  // below a file

  EXPECT_EQ(refusal(reporting), "The user may not write to the folder of the failure report.");
  EXPECT_THAT(log, ElementsAre(HasSubstr((helper / "Failure.plist").string())));
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, WithoutAHomeThereIsNoPlaceForAReport) {
  files = std::make_shared<RelocatedFileManager>(std::vector<QuillonURL>{});

  EXPECT_EQ(make(request()).request.failureReportURL, std::nullopt);
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, WithoutAnExecutableInstallerTheHelperIsUnavailable) {
  fs::permissions(helper, fs::perms(0644));
  EXPECT_TRUE(helperIsUnavailable());
  fs::remove(helper);
  EXPECT_TRUE(helperIsUnavailable());
  fs::create_directory(helper);
  EXPECT_TRUE(helperIsUnavailable());
  EXPECT_THAT(identities->asked, IsEmpty());
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, AnInstallerThatIsALinkCountsAsNone) {
  for (const fs::path& target : {folder / "shared-installer", programs / "OtherInstaller"}) {
    fs::rename(helper, target);
    fs::create_symlink(target, helper);

    EXPECT_TRUE(helperIsUnavailable()) << target;

    fs::rename(target, helper);
  }
  EXPECT_THAT(identities->asked, IsEmpty());
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, AnInstallerInALinkedFolderCountsAsNone) {
  for (const fs::path& linked : {programs, application / "Contents"}) {
    fs::rename(linked, folder / "elsewhere");
    fs::create_directory_symlink(folder / "elsewhere", linked);

    EXPECT_TRUE(helperIsUnavailable()) << linked;

    fs::remove(linked);
    fs::rename(folder / "elsewhere", linked);
  }
  EXPECT_THAT(identities->asked, IsEmpty());
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, AnIdentityThatIsRefusedIsARefusedLaunch) {
  identities->refuses = true;

  EXPECT_EQ(refusal(request()), "somebody else");
  EXPECT_THAT(log, ElementsAre("VeskAppBundleInstallerLauncherServiceLaunchResolver: somebody else"));
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, AUserContextOfThePeerGetsThePeersOwnHome) {
  VeskAppBundleReplacementRequest own = request();
  own.launchUserContext = peer;
  own.launchUserContext->homeDirectory = "/srv/jane";

  EXPECT_EQ(make(own).request.launchUserContext, peer);
}

TEST_F(VeskAppBundleInstallerLauncherServiceLaunchResolverTest, AUserContextOfAnotherUserIsRefused) {
  for (const User& other : {User{0, 1000, "jane", "/home/jane"}, User{1000, 0, "jane", "/home/jane"},
                            User{1000, 1000, "root", "/home/jane"}, User{1001, 1001, "joe", "/home/joe"}}) {
    VeskAppBundleReplacementRequest foreign = request();
    foreign.launchUserContext = other;

    EXPECT_EQ(refusal(foreign), "The request is for another user than the one who sent it.");
  }
}

}  // namespace
}  // namespace quillon
