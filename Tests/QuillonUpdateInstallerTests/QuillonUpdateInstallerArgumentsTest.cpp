#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "QuillonUpdateInstaller/QuillonUpdateInstallerArgumentError.h"
#include "QuillonUpdateInstaller/QuillonUpdateInstallerArguments.h"

namespace quillon {
namespace {

using Error = QuillonUpdateInstallerArgumentError;
using Words = std::vector<std::string>;

/// A complete command line; `changes` come last and so win.
Words completeWith(const Words& changes) {
  Words words = {"--staged-app",
                 "/s/A.app",
                 "--installed-app",
                 "/i/A.app",
                 "--host-pid",
                 "7",
                 "--bundle-id",
                 "org.example.App",
                 "--app-version",
                 "1.0",
                 "--app-build",
                 "12",
                 "--allows-same-build-replacement",
                 "0"};
  words.insert(words.end(), changes.begin(), changes.end());
  return words;
}

Words completeWithout(const std::string& option) {
  Words words = completeWith({});
  const auto found = std::find(words.begin(), words.end(), option);
  words.erase(found, found + 2);
  return words;
}

QuillonUpdateInstallerArguments parse(const Words& words) {
  return QuillonUpdateInstallerArguments::parse(words);
}

std::string errorOf(const Words& words) {
  try {
    (void)parse(words);
    return "no error";
  } catch (const Error& error) {
    return error.description();
  }
}

TEST(QuillonUpdateInstallerArgumentsTest, ACompleteCommandLineFillsEveryField) {
  const auto arguments =
      parse(completeWith({"--authorize-if-needed", "--expected-team-id", "TEAM", "--launch-user-id", "501",
                          "--launch-group-id", "20", "--launch-user-name", "ann", "--launch-user-home", "/Users/ann",
                          "--failure-report-url", "/r.plist", "--failure-report-attempt-id", "A1"}));

  EXPECT_EQ(arguments.stagedApplicationURL, QuillonURL::fileURL("/s/A.app"));
  EXPECT_EQ(arguments.installedApplicationURL, QuillonURL::fileURL("/i/A.app"));
  EXPECT_EQ(arguments.hostProcessIdentifier, 7);
  EXPECT_TRUE(arguments.shouldRequestAuthorizationIfNeeded);
  EXPECT_EQ(arguments.hostIdentity, (VeskAppBundleUpdateHostIdentity{.bundleIdentifier = "org.example.App",
                                                                     .applicationVersion = "1.0",
                                                                     .applicationBuild = 12,
                                                                     .expectedTeamIdentifier = "TEAM",
                                                                     .allowsSameBuildReplacement = false}));
  EXPECT_EQ(arguments.launchUserContext, (VeskAppBundleLaunchdUserContext{501, 20, "ann", "/Users/ann"}));
  EXPECT_EQ(arguments.failureReportURL, QuillonURL::fileURL("/r.plist"));
  EXPECT_EQ(arguments.failureReportAttemptIdentifier, "A1");
}

TEST(QuillonUpdateInstallerArgumentsTest, WhatIsOptionalIsAbsentWhenItIsNotGiven) {
  const auto arguments = parse(completeWith({}));

  EXPECT_FALSE(arguments.shouldRequestAuthorizationIfNeeded);
  EXPECT_EQ(arguments.hostIdentity.expectedTeamIdentifier, std::nullopt);
  EXPECT_EQ(arguments.launchUserContext, std::nullopt);
  EXPECT_EQ(arguments.failureReportURL, std::nullopt);
  EXPECT_EQ(arguments.failureReportAttemptIdentifier, std::nullopt);
}

TEST(QuillonUpdateInstallerArgumentsTest, NoArgumentsLackTheStagedApplication) {
  EXPECT_EQ(errorOf({}), "Missing required argument: --staged-app");
}

TEST(QuillonUpdateInstallerArgumentsTest, RequiredOptionsAreMissedInTheirOrder) {
  Words words;
  const Words complete = completeWith({});
  for (std::size_t i = 0; i < complete.size(); i += 2) {
    EXPECT_EQ(errorOf(words), "Missing required argument: " + complete[i]);
    EXPECT_EQ(errorOf(completeWithout(complete[i])), "Missing required argument: " + complete[i]);
    words.push_back(complete[i]);
    words.push_back(complete[i + 1]);
  }
  EXPECT_EQ(errorOf(words), "no error");
}

TEST(QuillonUpdateInstallerArgumentsTest, AnOptionAtTheEndLacksItsValue) {
  EXPECT_EQ(errorOf({"--staged-app"}), "Missing value for argument: --staged-app");
}

TEST(QuillonUpdateInstallerArgumentsTest, AnOptionIsNoValueOfAnother) {
  EXPECT_EQ(errorOf({"--staged-app", "--installed-app", "/x"}), "Missing value for argument: --staged-app");
  EXPECT_EQ(errorOf({"--bundle-id", "--authorize-if-needed"}), "Missing value for argument: --bundle-id");
}

TEST(QuillonUpdateInstallerArgumentsTest, TheLastOfARepeatedOptionCounts) {
  EXPECT_EQ(parse(completeWith({"--host-pid", "7", "--host-pid", "42"})).hostProcessIdentifier, 42);
}

TEST(QuillonUpdateInstallerArgumentsTest, StrayWordsAndUnknownOptionsWithAValueAreIgnored) {
  Words words = completeWith({"--unknown", "value", "stray", "-x"});
  words.insert(words.begin(), "bare");

  EXPECT_EQ(parse(words), parse(completeWith({})));
  EXPECT_EQ(errorOf(completeWith({"--unknown"})), "Missing value for argument: --unknown");
}

TEST(QuillonUpdateInstallerArgumentsTest, ARelativeReportPathIsTakenFromTheCurrentFolder) {
  EXPECT_EQ(parse(completeWith({"--failure-report-url", "a/r.plist"})).failureReportURL->path(),
            (std::filesystem::current_path() / "a/r.plist").string());
}

struct NumberCase {
  std::string option;
  std::string value;
  std::string error;
};

class QuillonUpdateInstallerArgumentsNumberTest : public ::testing::TestWithParam<NumberCase> {};

TEST_P(QuillonUpdateInstallerArgumentsNumberTest, IsTakenOrRefusedAsAWhole) {
  EXPECT_EQ(errorOf(completeWith({GetParam().option, GetParam().value})), GetParam().error) << GetParam().value;
}

constexpr const char* kPid = "Invalid host process identifier";
constexpr const char* kBuild = "Invalid application build";
constexpr const char* kPolicy = "Invalid same-build replacement policy";

INSTANTIATE_TEST_SUITE_P(
    Values, QuillonUpdateInstallerArgumentsNumberTest,
    ::testing::Values(NumberCase{"--host-pid", "2147483647", "no error"}, NumberCase{"--host-pid", "+7", "no error"},
                      NumberCase{"--host-pid", "-2147483648", "no error"}, NumberCase{"--host-pid", "0007", "no error"},
                      NumberCase{"--host-pid", "2147483648", kPid}, NumberCase{"--host-pid", "", kPid},
                      NumberCase{"--host-pid", "+", kPid}, NumberCase{"--host-pid", "-", kPid},
                      NumberCase{"--host-pid", " 7", kPid}, NumberCase{"--host-pid", "7 ", kPid},
                      NumberCase{"--host-pid", "0x7", kPid}, NumberCase{"--host-pid", "+-7", kPid},
                      NumberCase{"--app-build", "9223372036854775807", "no error"},
                      NumberCase{"--app-build", "-5", "no error"},
                      NumberCase{"--app-build", "9223372036854775808", kBuild},
                      NumberCase{"--app-build", "1.2", kBuild}, NumberCase{"--app-build", "", kBuild},
                      NumberCase{"--allows-same-build-replacement", "1", "no error"},
                      NumberCase{"--allows-same-build-replacement", "true", kPolicy},
                      NumberCase{"--allows-same-build-replacement", "01", kPolicy},
                      NumberCase{"--allows-same-build-replacement", " 1", kPolicy},
                      NumberCase{"--allows-same-build-replacement", "", kPolicy}));

TEST(QuillonUpdateInstallerArgumentsTest, SignedNumbersKeepTheirSign) {
  const auto arguments = parse(completeWith({"--host-pid", "+7", "--app-build", "-5"}));

  EXPECT_EQ(arguments.hostProcessIdentifier, 7);
  EXPECT_EQ(arguments.hostIdentity.applicationBuild, -5);
}

Words launchUser(const std::string& user, const std::string& group, const std::string& name, const std::string& home) {
  return completeWith(
      {"--launch-user-id", user, "--launch-group-id", group, "--launch-user-name", name, "--launch-user-home", home});
}

TEST(QuillonUpdateInstallerArgumentsTest, ALaunchUserIsCompleteOrAbsent) {
  const std::string invalid = "Invalid launch user context";

  EXPECT_EQ(errorOf(completeWith({"--launch-user-name", "ann"})), invalid);
  EXPECT_EQ(errorOf(completeWith({"--launch-user-id", "1", "--launch-group-id", "1", "--launch-user-name", "ann"})),
            invalid);
  EXPECT_EQ(errorOf(launchUser("501", "20", "ann", "")), invalid);
  EXPECT_EQ(errorOf(launchUser("501", "20", "", "/h")), invalid);
  EXPECT_EQ(errorOf(launchUser("-1", "20", "ann", "/h")), invalid);
  EXPECT_EQ(errorOf(launchUser("4294967296", "20", "ann", "/h")), invalid);
  EXPECT_EQ(errorOf(launchUser("501", "x", "ann", "/h")), invalid);
  EXPECT_EQ(errorOf(launchUser("-0", "+20", "ann", "/h")), "no error");
  EXPECT_EQ(parse(launchUser("4294967295", "0", "ann", "/h")).launchUserContext,
            (VeskAppBundleLaunchdUserContext{4294967295U, 0, "ann", "/h"}));
}

TEST(QuillonUpdateInstallerArgumentsTest, ARequestSurvivesTheWayThroughTheCommandLine) {
  const VeskAppBundleReplacementRequest request = parse(launchUser("501", "20", "ann", "/h")).replacementRequest();

  EXPECT_EQ(parse(request.helperArguments(7)).replacementRequest(), request);
}

TEST(QuillonUpdateInstallerArgumentsTest, ARequestWithoutHostIdentityIsRejectedForItsBundleIdentifier) {
  VeskAppBundleReplacementRequest request = parse(completeWith({})).replacementRequest();
  request.hostIdentity.reset();

  EXPECT_EQ(errorOf(request.helperArguments(7)), "Missing required argument: --bundle-id");
}

}  // namespace
}  // namespace quillon
