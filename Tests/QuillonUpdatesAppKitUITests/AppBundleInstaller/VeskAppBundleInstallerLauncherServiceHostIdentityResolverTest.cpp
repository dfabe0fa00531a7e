#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceHostIdentityResolver.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceRefusal.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/FakeProcessRunner.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Identity = VeskAppBundleUpdateHostIdentity;
using Refusal = VeskAppBundleInstallerLauncherServiceRefusal;

/// Version 1.5, build 15, of an application that team TEAM123456 signed, and what it asks for.
class VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest : public ::testing::Test {
 protected:
  VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest() {
    describe({.version = "1.5", .build = "15"});
    runner->answer = [this](const auto&) { return tool; };
  }

  void describe(const testing::ApplicationBundleDescription& description) const {
    std::filesystem::remove_all(application);
    testing::makeApplicationBundle(application, description);
  }

  [[nodiscard]] Identity make() const { return resolver().makeHostIdentity(url(), requested); }

  [[nodiscard]] VeskAppBundleInstallerLauncherServiceHostIdentityResolver resolver() const {
    return {makeSystemFileManager(), runner, "/tools/codesign"};
  }

  [[nodiscard]] QuillonURL url() const { return QuillonURL::fileURL(application.string()); }

  /// The reason for which the request is refused.
  [[nodiscard]] std::string refusal() const {
    try {
      (void)make();
      return "not refused";
    } catch (const Refusal& error) {
      EXPECT_EQ(error, VeskUpdateInstallerError::replacementLaunchFailed());
      return error.reason();
    }
  }

  testing::TemporaryDirectory folder;
  std::filesystem::path application = folder / "App.app";
  std::shared_ptr<testing::FakeProcessRunner> runner = std::make_shared<testing::FakeProcessRunner>();
  QuillonProcessResult tool{.status = 0, .output = "Identifier=org.example.App\nTeamIdentifier=TEAM123456\n"};
  Identity requested{.bundleIdentifier = "org.example.App",
                     .applicationVersion = "1.5",
                     .applicationBuild = 15,
                     .expectedTeamIdentifier = "TEAM123456",
                     .allowsSameBuildReplacement = false};
};

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest,
       ARequestThatAgreesGivesTheApplicationsOwnIdentity) {
  EXPECT_EQ(make(), requested);
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, TheSameBuildIsAllowedWhenTheRequestAllowsIt) {
  requested.allowsSameBuildReplacement = true;

  EXPECT_TRUE(make().allowsSameBuildReplacement);
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, ARequestWithoutTeamGetsTheApplicationsTeam) {
  requested.expectedTeamIdentifier.reset();

  EXPECT_EQ(make().expectedTeamIdentifier, "TEAM123456");
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, AnotherBundleIdentifierIsRefused) {
  requested.bundleIdentifier = "org.example.Other";

  EXPECT_THAT(refusal(), HasSubstr("bundle identifier"));
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, AnotherVersionIsRefused) {
  requested.applicationVersion = "1.4";

  EXPECT_THAT(refusal(), HasSubstr("version"));
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, AnotherBuildIsRefusedOlderOrNewer) {
  for (const std::int64_t build : {14, 16}) {
    requested.applicationBuild = build;

    EXPECT_THAT(refusal(), HasSubstr("build"));
  }
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, AnotherTeamIsRefused) {
  for (const char* team : {"TEAM999999", "", "not set"}) {
    requested.expectedTeamIdentifier = team;

    EXPECT_THAT(refusal(), HasSubstr("team"));
  }
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, ARefusalSaysInTheLogWhatWasExpectedAndFound) {
  requested.applicationVersion = "";

  try {
    (void)make();
    FAIL() << "not refused";
  } catch (const Refusal& error) {
    EXPECT_EQ(error.detail(), "requested=<empty> own=1.5");
  }
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, AHugeTextOfARequestIsShortInTheLog) {
  requested.applicationVersion = std::string(1'000'000, 'x');

  try {
    (void)make();
    FAIL() << "not refused";
  } catch (const Refusal& error) {
    EXPECT_LT(error.detail().size(), 1000U);
  }
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, AnApplicationWithoutIdentifierIsRefused) {
  describe({.identifier = ""});
  requested.bundleIdentifier = "";

  EXPECT_THAT(refusal(), HasSubstr("has no bundle identifier"));
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, AnApplicationWithoutInformationIsRefused) {
  std::filesystem::remove(application / "Contents/Info.plist");

  EXPECT_THAT(refusal(), HasSubstr("has no bundle identifier"));
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, ABuildThatIsNoNumberIsZeroAsForTheValidator) {
  describe({.version = "1.5", .build = "1.2.3"});
  requested.applicationBuild = 0;

  EXPECT_EQ(make().applicationBuild, 0);
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest,
       AnApplicationWithoutTeamIsRefusedWhetherATeamIsAskedForOrNot) {
  tool.output = "TeamIdentifier=not set\n";
  EXPECT_THAT(refusal(), HasSubstr("not signed by a team"));
  requested.expectedTeamIdentifier = "not set";
  EXPECT_THAT(refusal(), HasSubstr("not signed by a team"));

  requested.expectedTeamIdentifier.reset();
  EXPECT_THAT(refusal(), HasSubstr("not signed by a team"));
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, AnUnsignedApplicationIsRefused) {
  tool = {.status = 1, .output = "App.app: code object is not signed at all\n"};
  requested.expectedTeamIdentifier.reset();

  EXPECT_THAT(refusal(), HasSubstr("cannot be read"));
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest,
       TheTeamIsReadWithTheSigningToolsDetailedDescription) {
  (void)make();

  EXPECT_THAT(runner->commands,
              ElementsAre(ElementsAre("/tools/codesign", "-dv", "--verbose=4", application.string())));
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, TheFirstLineThatBeginsAsTheTeamsIsTheTeams) {
  tool.output = "Signed by TeamIdentifier=NOTTHIS\nTeamIdentifier=FIRST\nTeamIdentifier=FIRST\n";

  EXPECT_EQ(resolver().readTeamIdentifier(url()), "FIRST");
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, TeamLinesThatContradictEachOtherAreNoTeam) {
  tool.output = "Identifier=org.example\nTeamIdentifier=FORGED\nTeamIdentifier=SIGNER\n";

  EXPECT_THROW((void)resolver().readTeamIdentifier(url()), Refusal);
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, ATeamThatCannotBeReadIsAFailedLaunch) {
  for (const QuillonProcessResult& result : {
           QuillonProcessResult{.status = 1, .output = "TeamIdentifier=TEAM123456\n"},
           QuillonProcessResult{.status = 0, .output = ""},
           QuillonProcessResult{.status = 0, .output = "TeamIdentifier=\n"},
           QuillonProcessResult{.status = 0, .output = "TeamIdentifier=not set\n"},
           QuillonProcessResult{.status = 0, .output = " TeamIdentifier=TEAM123456\n"},
       }) {
    tool = result;

    EXPECT_THROW((void)resolver().readTeamIdentifier(url()), Refusal) << result.output;
  }
}

TEST_F(VeskAppBundleInstallerLauncherServiceHostIdentityResolverTest, RunningTheToolGivesItsStatusAndOutput) {
  tool = {.status = 3, .output = "what it printed"};

  EXPECT_EQ(resolver().runCodesign({"a", "b"}), tool);
  EXPECT_THAT(runner->commands, ElementsAre(ElementsAre("/tools/codesign", "a", "b")));
}

}  // namespace
}  // namespace quillon
