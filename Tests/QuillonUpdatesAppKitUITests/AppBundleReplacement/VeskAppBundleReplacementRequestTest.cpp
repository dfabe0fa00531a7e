#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRequest.h"

namespace quillon {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsSupersetOf;
using ::testing::Not;

VeskAppBundleReplacementRequest fullRequest() {
  return {
      .stagedApplicationURL = QuillonURL::fileURL("/s/A B.app"),
      .installedApplicationURL = QuillonURL::fileURL("/i/A B.app"),
      .helperExecutableURL = std::nullopt,
      .hostIdentity = VeskAppBundleUpdateHostIdentity{.bundleIdentifier = "org.example.App",
                                                      .applicationVersion = "1.0",
                                                      .applicationBuild = -5,
                                                      .expectedTeamIdentifier = "TEAM",
                                                      .allowsSameBuildReplacement = true},
      .shouldRequestAuthorizationIfNeeded = true,
      .launchUserContext = VeskAppBundleLaunchdUserContext{501, 20, "ann", "/Users/ann"},
      .failureReportURL = QuillonURL::fileURL("/r/report.plist"),
      .failureReportAttemptIdentifier = "attempt",
  };
}

TEST(VeskAppBundleReplacementRequestTest, ArgumentsStandInTheirFixedOrder) {
  EXPECT_THAT(
      fullRequest().helperArguments(42),
      ElementsAre("--staged-app", "/s/A B.app", "--installed-app", "/i/A B.app", "--host-pid", "42", "--bundle-id",
                  "org.example.App", "--app-version", "1.0", "--app-build", "-5", "--allows-same-build-replacement",
                  "1", "--expected-team-id", "TEAM", "--authorize-if-needed", "--launch-user-id", "501",
                  "--launch-group-id", "20", "--launch-user-name", "ann", "--launch-user-home", "/Users/ann",
                  "--failure-report-url", "/r/report.plist", "--failure-report-attempt-id", "attempt"));
}

TEST(VeskAppBundleReplacementRequestTest, WithoutHostIdentityNoneOfItsOptionsIsWritten) {
  VeskAppBundleReplacementRequest request = fullRequest();
  request.hostIdentity.reset();
  request.shouldRequestAuthorizationIfNeeded = false;
  request.launchUserContext.reset();
  request.failureReportURL.reset();
  request.failureReportAttemptIdentifier.reset();

  EXPECT_THAT(request.helperArguments(1),
              ElementsAre("--staged-app", "/s/A B.app", "--installed-app", "/i/A B.app", "--host-pid", "1"));
}

TEST(VeskAppBundleReplacementRequestTest, WhatIsPassedWinsOverTheRequestsOwn) {
  const auto arguments = fullRequest().helperArguments(1, VeskAppBundleLaunchdUserContext{502, 21, "bob", "/Users/bob"},
                                                       QuillonURL::fileURL("/other.plist"));

  EXPECT_THAT(arguments, IsSupersetOf({"502", "21", "bob", "/Users/bob", "/other.plist"}));
  EXPECT_THAT(arguments, Not(Contains("501")));
  EXPECT_THAT(arguments, Not(Contains("/r/report.plist")));
}

TEST(VeskAppBundleReplacementRequestTest, ADisallowedSameBuildIsWrittenAsZeroAndNoTeamWithoutOne) {
  VeskAppBundleReplacementRequest request = fullRequest();
  request.hostIdentity->allowsSameBuildReplacement = false;
  request.hostIdentity->expectedTeamIdentifier.reset();

  EXPECT_THAT(request.helperArguments(1), Contains("0"));
  EXPECT_THAT(request.helperArguments(1), Not(Contains("--expected-team-id")));
}

TEST(VeskAppBundleReplacementRequestTest, RequestsAreEqualByAllFields) {
  VeskAppBundleReplacementRequest other = fullRequest();
  EXPECT_EQ(other, fullRequest());

  other.helperExecutableURL = QuillonURL::fileURL("/h");
  EXPECT_NE(other, fullRequest());
}

}  // namespace
}  // namespace quillon
