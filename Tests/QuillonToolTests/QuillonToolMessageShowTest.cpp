#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonTool/QuillonToolMessageShow.h"
#include "QuillonToolTests/ToolRun.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::ToolResult;
using Value = QuillonPropertyListValue;

class QuillonToolMessageShowTest : public ::testing::Test {
 protected:
  ToolResult show(std::string_view kind, const std::string& content) const {
    testing::writeFile(file_, content);
    return testing::ToolRun()({"message", "show", "--kind", std::string(kind), file_.string()});
  }
  ToolResult showJSON(std::string_view kind, const std::string& content) const {
    testing::writeFile(file_, content);
    return testing::ToolRun()({"message", "show", "--kind", std::string(kind), file_.string(), "--json"});
  }

  const testing::TemporaryDirectory folder_;
  const std::filesystem::path file_ = folder_ / "message.plist";
  /// Every value is a text in this form of property lists.
  const std::string request_ = R"({
    stagedApplicationPath = "/Staging/Example.app"; installedApplicationPath = "/Applications/Example.app";
    shouldRequestAuthorizationIfNeeded = TRUE; bundleIdentifier = "org.example.App"; applicationVersion = "1.4";
    applicationBuild = "+42"; allowsSameBuildReplacement = 0; )";
};

TEST_F(QuillonToolMessageShowTest, ARequestIsItsFieldsByTheirNames) {
  EXPECT_EQ(showJSON("request", request_ + R"(expectedTeamIdentifier = T; launchUserIdentifier = 501;
                launchGroupIdentifier = 20; launchUserName = ada; launchUserHomeDirectory = "/home/ada";
                failureReportPath = "/r.plist"; failureReportAttemptIdentifier = A; other = 1; })"),
            (ToolResult{.status = 0,
                        .output = R"({"stagedApplicationPath":"/Staging/Example.app",)"
                                  R"("installedApplicationPath":"/Applications/Example.app",)"
                                  R"("shouldRequestAuthorizationIfNeeded":true,"bundleIdentifier":"org.example.App",)"
                                  R"("applicationVersion":"1.4","applicationBuild":42,)"
                                  R"("allowsSameBuildReplacement":false,"expectedTeamIdentifier":"T",)"
                                  R"("launchUserIdentifier":501,"launchGroupIdentifier":20,"launchUserName":"ada",)"
                                  R"("launchUserHomeDirectory":"/home/ada","failureReportPath":"/r.plist",)"
                                  R"("failureReportAttemptIdentifier":"A"})"
                                  "\n"}));
}

TEST_F(QuillonToolMessageShowTest, AbsentFieldsOfARequestAreLeftOut) {
  const ToolResult result = showJSON("request", request_ + "}");

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr(R"("allowsSameBuildReplacement":false})"));
}

TEST_F(QuillonToolMessageShowTest, ARequestIsExplainedFieldByField) {
  const ToolResult result = show("request", request_ + "expectedTeamIdentifier = (T); other = 1; }");

  EXPECT_EQ(result, (ToolResult{.status = 0,
                                .output = "stagedApplicationPath: /Staging/Example.app\n"
                                          "installedApplicationPath: /Applications/Example.app\n"
                                          "shouldRequestAuthorizationIfNeeded: true (received: string \"TRUE\")\n"
                                          "bundleIdentifier: org.example.App\n"
                                          "applicationVersion: 1.4\n"
                                          "applicationBuild: 42 (received: string \"+42\")\n"
                                          "allowsSameBuildReplacement: false (received: string \"0\")\n"
                                          "expectedTeamIdentifier: none (received: array of 1)\n"
                                          "launchUserIdentifier: none\n"
                                          "launchGroupIdentifier: none\n"
                                          "launchUserName: none\n"
                                          "launchUserHomeDirectory: none\n"
                                          "failureReportPath: none\n"
                                          "failureReportAttemptIdentifier: none\n"
                                          "other: not read (received: string \"1\")\n"}));
}

TEST_F(QuillonToolMessageShowTest, ARefusedRequestIsAnError) {
  const std::string content = request_ + "launchUserName = ada; }";

  EXPECT_EQ(showJSON("request", content),
            (ToolResult{.status = 1, .output = "{\"error\":\"replacementLaunchFailed\"}\n"}));
  EXPECT_EQ(show("request", content),
            (ToolResult{.status = 1,
                        .output = "error: replacementLaunchFailed\nreason: \"launchUserIdentifier\" is missing\n"}));
}

TEST_F(QuillonToolMessageShowTest, AResultIsItsCaseAndWhatThatCarries) {
  EXPECT_EQ(showJSON("result", "{ result = launched; }").output, "{\"case\":\"launched\"}\n");
  EXPECT_EQ(showJSON("result", "{ result = timedOut; phase = jobSubmission; }").output,
            "{\"case\":\"timedOut\",\"phase\":\"jobSubmission\"}\n");
  EXPECT_EQ(showJSON("result", "{ result = launchFailed; phase = jobSubmission; errorDomain = D; }").output,
            "{\"case\":\"launchFailed\",\"diagnostic\":{\"phase\":\"jobSubmission\",\"errorDomain\":\"D\"}}\n");
}

TEST_F(QuillonToolMessageShowTest, AMessageMayBeABinaryPropertyList) {
  const std::string content =
      writeBinaryPropertyList(Value(Value::Dictionary{{"result", Value("authorizationDenied")},
                                                      {"phase", Value("authorization")},
                                                      {"errorDomain", Value("NSOSStatusErrorDomain")},
                                                      {"errorCode", Value(-60005)}}));

  EXPECT_EQ(showJSON("result", content),
            (ToolResult{.status = 0, .output = "{\"case\":\"authorizationDenied\",\"status\":-60005}\n"}));
  EXPECT_EQ(show("result", content).output,
            "case: authorizationDenied\nstatus: -60005\n"
            "errorDomain: not read (received: string \"NSOSStatusErrorDomain\")\n"
            "phase: not read (received: string \"authorization\")\n");
}

TEST_F(QuillonToolMessageShowTest, AnInvalidResultIsAProtocolFailure) {
  const std::string content = "{ result = timedOut; phase = later; }";

  EXPECT_EQ(showJSON("result", content),
            (ToolResult{.status = 1,
                        .output = R"({"case":"protocolFailure","diagnostic":{"phase":"xpcReply",)"
                                  R"("errorDomain":"Quillon.XPCReply",)"
                                  R"("errorDescription":"The launcher service returned an invalid result."}})"
                                  "\n"}));
  EXPECT_EQ(show("result", content),
            (ToolResult{.status = 1,
                        .output = "case: protocolFailure\nphase: xpcReply\nerrorDomain: Quillon.XPCReply\n"
                                  "errorCode: none\n"
                                  "errorDescription: The launcher service returned an invalid result.\n"
                                  "reason: \"phase\" is no phase of a launch: string \"later\"\n"}));
}

TEST_F(QuillonToolMessageShowTest, AnEventIsItsCaseAndWhatThatCarries) {
  const std::string content =
      "{ event = authorizationRequired; destinationParentIsWritable = 1; canPreserveInstalledOwnership = false; }";

  EXPECT_EQ(showJSON("progress", content),
            (ToolResult{.status = 0,
                        .output = "{\"case\":\"authorizationRequired\",\"destinationParentIsWritable\":true,"
                                  "\"canPreserveInstalledOwnership\":false}\n"}));
  EXPECT_EQ(show("progress", content).output,
            "case: authorizationRequired\ndestinationParentIsWritable: true (received: string \"1\")\n"
            "canPreserveInstalledOwnership: false (received: string \"false\")\n");
}

TEST_F(QuillonToolMessageShowTest, ADroppedEventIsNull) {
  const std::string content = "{ event = authorizationEnded; elapsedNanoseconds = 12; }";

  EXPECT_EQ(showJSON("progress", content), (ToolResult{.status = 1, .output = "null\n"}));
  EXPECT_EQ(
      show("progress", content),
      (ToolResult{.status = 1, .output = "dropped: \"elapsedNanoseconds\" is no number from 0: string \"12\"\n"}));
}

TEST_F(QuillonToolMessageShowTest, AListThatIsNoDictionaryCountsAsAnEmptyMessage) {
  EXPECT_EQ(showJSON("request", "(a)").output, "{\"error\":\"replacementLaunchFailed\"}\n");
  EXPECT_EQ(show("request", "(a)"),
            (ToolResult{.status = 1,
                        .output = "No dictionary: counts as an empty one\nerror: replacementLaunchFailed\n"
                                  "reason: \"stagedApplicationPath\" is missing\n"}));
}

TEST_F(QuillonToolMessageShowTest, AMessageCannotSteerTheTerminal) {
  const ToolResult result = show("result", "{ result = launched; \"a\\033]0;\" = \"b\\007\"; }");

  EXPECT_EQ(result.output, "case: launched\na\\x1b]0;: not read (received: string \"b\\x07\")\n");
}

TEST_F(QuillonToolMessageShowTest, AFileThatIsNoPropertyListIsAFailure) {
  const ToolResult result = show("request", "<plist><dict>");

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, IsEmpty());
  EXPECT_THAT(result.error, HasSubstr(file_.string() + " is no property list: "));
}

TEST_F(QuillonToolMessageShowTest, AMissingFileIsAFailure) {
  const ToolResult result = testing::ToolRun()({"message", "show", "--kind", "result", file_.string()});

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr(file_.string() + ": No such file or directory"));
}

TEST_F(QuillonToolMessageShowTest, TheKindMustBeOneOfThree) {
  const ToolResult missing = testing::ToolRun()({"message", "show", file_.string()});
  const ToolResult unknown = show("answer", "{}");

  EXPECT_EQ(missing.status, 2);
  EXPECT_THAT(missing.error, HasSubstr("--kind"));
  EXPECT_EQ(unknown.status, 2);
  EXPECT_THAT(unknown.error, HasSubstr("The kind \"answer\" is none; write request, result or progress."));
}

}  // namespace
}  // namespace quillon
