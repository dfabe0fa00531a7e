#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReport.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kCommand = QUILLON_BINARY_FOLDER "/quillon";

QuillonProcessResult runTool(const std::vector<std::string>& words) {
  return QuillonPosixProcessRunner().run(kCommand, words);
}

/// Runs a line of shell in which $0 is the command and $1 is `argument`.
QuillonProcessResult runShell(const std::string& line, const std::string& argument = {}) {
  return QuillonPosixProcessRunner().run("/bin/sh", {"-c", line, kCommand, argument});
}

/// A publisher's next release, and the questions asked of it.
class QuillonToolScenarioTest : public ::testing::Test {
 protected:
  QuillonToolScenarioTest() { testing::makeApplicationBundle(bundle_, {.version = "2.0", .build = "2"}); }

  [[nodiscard]] QuillonProcessResult validate(const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words = {"bundle",      "validate",        bundle_.string(),
                                      "--bundle-id", "org.example.App", "--app-version",
                                      "1.0",         "--app-build",     "1"};
    words.insert(words.end(), more.begin(), more.end());
    return runTool(words);
  }

  [[nodiscard]] QuillonProcessResult sign(const std::vector<std::string>& options) const {
    std::vector<std::string> words = {"bundle", "sign", bundle_.string()};
    words.insert(words.end(), options.begin(), options.end());
    return runTool(words);
  }

  const testing::TemporaryDirectory folder_;
  const std::filesystem::path bundle_ = folder_ / "Example.app";
};

TEST_F(QuillonToolScenarioTest, ABundleIsAcceptedOnceItIsSignedAndNoMoreWhenItIsChanged) {
  EXPECT_THAT(validate().output, StartsWith("signatureValidationFailed\n"));

  EXPECT_EQ(sign({"--ad-hoc"}), (QuillonProcessResult{.status = 0, .output = "signed ad hoc\n"}));
  EXPECT_EQ(validate(), (QuillonProcessResult{.status = 0, .output = "accepted\n"}));

  testing::writeFile(bundle_ / "Contents/Resources/version.txt", "3.0");
  const QuillonProcessResult result = validate();
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, StartsWith("signatureValidationFailed\n"));
  EXPECT_THAT(result.output, HasSubstr("a sealed resource is missing or invalid"));
}

TEST_F(QuillonToolScenarioTest, ATeamThatNobodyVouchesForIsNoTeam) {
  const testing::MadeSigningIdentity& identity = testing::sharedSigningIdentity();
  testing::writeFile(folder_ / "key.pem", identity.key);
  testing::writeFile(folder_ / "certificate.pem", identity.certificates);

  const QuillonProcessResult signing =
      sign({"--key", (folder_ / "key.pem").string(), "--certificate", (folder_ / "certificate.pem").string()});

  EXPECT_EQ(signing, (QuillonProcessResult{.status = 0, .output = "signed by team TEAM123456\n"}));
  EXPECT_EQ(validate().output, "accepted\n");
  EXPECT_THAT(validate({"--expected-team-id", "TEAM123456"}).output,
              StartsWith("teamIdentifierMismatch\nVeskAppBundleCodeSignatureValidator: team identifier mismatch "
                         "expectedTeamID=TEAM123456 actualTeamID=not set "));
}

TEST_F(QuillonToolScenarioTest, PairsOfVersionsComeThroughAPipe) {
  EXPECT_EQ(runShell("printf '1.0\\t1.1\\n2.0\\t2.0b1\\n' | \"$0\" version compare --stdin"),
            (QuillonProcessResult{.status = 0, .output = "ascending\ndescending\n"}));

  const QuillonProcessResult result = runShell("printf '1.0\\t1.1\\n2.0\\n' | \"$0\" version compare --stdin");
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.output, StartsWith("ascending\nquillon version compare: Line 2 of the input has 0 tabs"));
}

TEST_F(QuillonToolScenarioTest, AFailureReportIsReadWhereItLies) {
  const VeskAppBundleUpdateFailureReport report{
      .errorDescription = "relaunchFailed", .failedAt = {}, .attemptIdentifier = std::nullopt};
  testing::writeFile(folder_ / "report.plist", report.encoded());

  EXPECT_EQ(runShell("cd \"$1\" && \"$0\" report show report.plist", folder_.path().string()),
            (QuillonProcessResult{
                .status = 0, .output = "Description: relaunchFailed\nTime: 1970-01-01T00:00:00Z\nAttempt: none\n"}));
}

TEST_F(QuillonToolScenarioTest, ARollOutIsSimulatedAndDrawn) {
  testing::writeFile(folder_ / "feed.plist",
                     "({type = update; id = 3; version = \"2.0\"; current = \"3.0\"; releasedate = \"2024-06-10\";})");

  const QuillonProcessResult result = runShell(
      "cd \"$1\" && \"$0\" feed simulate feed.plist --installs 14000 --days 7 --versions 2.0 --check-hours 24 "
      "--svg rollout.svg",
      folder_.path().string());

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, StartsWith("14000 installs, 7 days from 2024-06-10, seed 1\n"));
  EXPECT_THAT(result.output, HasSubstr("Entry 1, 3.0: offered to 14000 installs, 100.0 %\n"));
  EXPECT_THAT(testing::readFile(folder_ / "rollout.svg"), HasSubstr("<title>Roll-out of feed.plist</title>"));
}

TEST_F(QuillonToolScenarioTest, AReleaseIsAddedToAFeedCheckedAndExplained) {
  testing::writeFile(folder_ / "Example 2.0.zip", "PK");
  const std::string folder = folder_.path().string();

  EXPECT_THAT(runShell("cd \"$1\" && \"$0\" feed add feed.plist Example.app --archive 'Example 2.0.zip' --url-prefix "
                       "https://example.com --minimum-os 13.0 --release-date 2024-06-10",
                       folder)
                  .output,
              StartsWith("Entry 1 \"2.0\": added\n"));

  EXPECT_EQ(runShell("cd \"$1\" && \"$0\" feed lint --strict feed.plist", folder),
            (QuillonProcessResult{.status = 0, .output = "feed.plist: 1 entry, 0 errors, 0 warnings\n"}));
  EXPECT_THAT(
      runShell("cd \"$1\" && \"$0\" feed explain feed.plist --app-version 1.0 --app-build 1 --os 12.6", folder).output,
      StartsWith("Entry 1 \"2.0\": not offered, os: \"12.6\" is not within \"13.0\"\n"));
  EXPECT_EQ(runShell("cd \"$1\" && sed -i s/https:/http:/ feed.plist && \"$0\" feed lint feed.plist", folder).status,
            2);
  EXPECT_EQ(runShell("cd \"$1\" && \"$0\" feed lint --strict missing.plist", folder).status, 2);
}

TEST_F(QuillonToolScenarioTest, InputAndOutputThatFailAreFailures) {
  EXPECT_EQ(runShell("\"$0\" --help > /dev/full"),
            (QuillonProcessResult{.status = 1, .output = "quillon: Cannot write to standard output\n"}));
  EXPECT_EQ(runShell("ulimit -f 0; \"$0\" --help > \"$1\"", (folder_ / "out").string()),
            (QuillonProcessResult{.status = 1, .output = "quillon: Cannot write to standard output\n"}));
  EXPECT_EQ(runShell("\"$0\" version compare --stdin < /"),
            (QuillonProcessResult{.status = 1, .output = "quillon version compare: Cannot read standard input\n"}));
}

TEST_F(QuillonToolScenarioTest, ExplainsItself) {
  EXPECT_EQ(runTool({"help"}).status, 0);
  EXPECT_THAT(runTool({"help"}).output, StartsWith("Usage: quillon COMMAND SUBCOMMAND"));
  EXPECT_THAT(runTool({"--version"}).output, StartsWith("quillon "));
  EXPECT_EQ(runTool({}).status, 2);
  EXPECT_EQ(runTool({"bundle", "unpack"}).status, 2);
}

}  // namespace
}  // namespace quillon
