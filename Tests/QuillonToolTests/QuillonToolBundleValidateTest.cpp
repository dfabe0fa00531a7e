#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "QuillonTool/QuillonToolBundleValidate.h"
#include "QuillonToolTests/ToolRun.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::ToolResult;

/// Version 2.0, build 2, of an application that wants system 14.2, judged as an update of version 1.0, build 1.
class QuillonToolBundleValidateTest : public ::testing::Test {
 protected:
  QuillonToolBundleValidateTest() {
    testing::makeApplicationBundle(
        bundle_, {.identifier = "org.example.App", .version = "2.0", .build = "2", .minimumSystemVersion = "14.2"});
  }

  ToolResult validate(const std::vector<std::string>& more = {}) {
    return call({"--bundle-id", "org.example.App", "--app-version", "1.0", "--app-build", "1"}, more);
  }

  ToolResult call(const std::vector<std::string>& options, const std::vector<std::string>& more = {}) {
    std::vector<std::string> words = {"bundle", "validate", bundle_.string()};
    words.insert(words.end(), options.begin(), options.end());
    words.insert(words.end(), more.begin(), more.end());
    return run_(words);
  }

  static ToolResult rejection(const std::string& error, const std::string& diagnostic) {
    return {.status = 1, .output = error + "\nVeskAppBundleCodeSignatureValidator: " + diagnostic + "\n"};
  }

  const testing::TemporaryDirectory folder_;
  const std::filesystem::path bundle_ = folder_ / "Example.app";
  const testing::ToolRun run_;
};

TEST_F(QuillonToolBundleValidateTest, AGoodUpdateIsAccepted) {
  EXPECT_EQ(validate(), (ToolResult{.status = 0, .output = "accepted\n"}));
  EXPECT_THAT(run_.codeSigningTool->commands,
              ElementsAre(ElementsAre("/codesign", "--verify", "--strict", "--deep", bundle_.string())));
}

TEST_F(QuillonToolBundleValidateTest, ARejectionIsNamedAndExplained) {
  EXPECT_EQ(call({"--bundle-id", "org.example.Other", "--app-version", "1.0", "--app-build", "1"}),
            rejection("bundleIdentifierMismatch",
                      "bundle identifier mismatch expectedBundleID=org.example.Other "
                      "actualBundleID=org.example.App stagedApp=" +
                          bundle_.string()));
}

TEST_F(QuillonToolBundleValidateTest, TheSignatureIsAskedOfTheCodeSigningTool) {
  run_.codeSigningTool->answer = [](const auto&) { return QuillonProcessResult{.status = 1, .output = "no\x1b[0m"}; };

  const ToolResult result = validate();

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("signatureValidationFailed\n"));
  EXPECT_THAT(result.output, HasSubstr("status=1 output=no\\x1b[0m "));
}

TEST_F(QuillonToolBundleValidateTest, TheTeamIsComparedWhenGiven) {
  run_.codeSigningTool->answer = [](const auto&) {
    return QuillonProcessResult{.status = 0, .output = "TeamIdentifier=TEAM1\n"};
  };

  EXPECT_EQ(validate({"--expected-team-id", "TEAM1"}).output, "accepted\n");
  EXPECT_THAT(validate({"--expected-team-id", "TEAM2"}).output, HasSubstr("teamIdentifierMismatch\n"));
}

TEST_F(QuillonToolBundleValidateTest, TheSameBuildIsReplacedOnlyWhenAllowed) {
  const std::vector<std::string> newerHost = {"--bundle-id", "org.example.App", "--app-version",
                                              "3.0",         "--app-build",     "2"};

  EXPECT_THAT(call(newerHost).output, HasSubstr("nonNewerBundleVersion\n"));
  EXPECT_THAT(call(newerHost, {"--allows-same-build-replacement", "0"}).output, HasSubstr("nonNewerBundleVersion\n"));
  EXPECT_EQ(call(newerHost, {"--allows-same-build-replacement", "1"}).output, "accepted\n");
}

TEST_F(QuillonToolBundleValidateTest, AnotherSystemCanBeAskedAbout) {
  EXPECT_EQ(validate({"--os-version", "14.2"}).output, "accepted\n");
  EXPECT_EQ(validate({"--os-version", "13"}),
            rejection("minimumOSVersionUnsupported", "minimum macOS version unsupported required=14.2 current=13.0.0"));
}

TEST_F(QuillonToolBundleValidateTest, AnUnreadableInfoPlistIsExplainedToo) {
  testing::writeFile(bundle_ / "Contents/Info.plist", "no property list");

  EXPECT_EQ(validate(), (ToolResult{.status = 1,
                                    .output = "invalidArchive\nContents/Info.plist is missing or is no property list "
                                              "of keys and values\n"}));
}

TEST_F(QuillonToolBundleValidateTest, AnswersInJSON) {
  EXPECT_EQ(validate({"--json"}),
            (ToolResult{.status = 0, .output = "{\"result\":\"accepted\",\"error\":null,\"diagnostic\":null}\n"}));
  EXPECT_EQ(validate({"--json", "--os-version", "13.0.1"}),
            (ToolResult{.status = 1,
                        .output = "{\"result\":\"rejected\",\"error\":\"minimumOSVersionUnsupported\",\"diagnostic\":"
                                  "\"VeskAppBundleCodeSignatureValidator: minimum macOS version unsupported "
                                  "required=14.2 current=13.0.1\"}\n"}));
}

TEST_F(QuillonToolBundleValidateTest, AMistypedPathIsAFailureOfItsOwn) {
  std::filesystem::remove_all(bundle_);

  EXPECT_EQ(validate(),
            (ToolResult{.status = 1,
                        .output = {},
                        .error = "quillon bundle validate: There is no bundle at " + bundle_.string() + "\n"}));
}

TEST_F(QuillonToolBundleValidateTest, EachPartOfTheHostMustBeGiven) {
  EXPECT_THAT(call({"--app-version", "1", "--app-build", "1"}).error, HasSubstr("--bundle-id is missing"));
  EXPECT_THAT(call({"--bundle-id", "a", "--app-build", "1"}).error, HasSubstr("--app-version is missing"));
  EXPECT_THAT(call({"--bundle-id", "a", "--app-version", "1"}).error, HasSubstr("--app-build is missing"));
}

TEST_F(QuillonToolBundleValidateTest, WrongValuesAreUsageErrors) {
  const auto isUsageError = [this](const std::vector<std::string>& more) {
    const ToolResult result = validate(more);
    return result.status == 2 && result.output.empty();
  };

  EXPECT_EQ(call({"--bundle-id", "a", "--app-version", "1", "--app-build", "1.0"}).status, 2);
  EXPECT_TRUE(isUsageError({"--allows-same-build-replacement", "yes"}));
  EXPECT_TRUE(isUsageError({"--os-version", ""}));
  EXPECT_TRUE(isUsageError({"--os-version", "14.x"}));
  EXPECT_TRUE(isUsageError({"--os-version", "14."}));
  EXPECT_TRUE(isUsageError({"--os-version", "1.2.3.4"}));
  EXPECT_TRUE(isUsageError({"--os-version", "14.-1"}));
  EXPECT_THAT(run_.codeSigningTool->commands, IsEmpty());
}

}  // namespace
}  // namespace quillon
