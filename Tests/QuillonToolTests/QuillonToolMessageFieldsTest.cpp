#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "QuillonTool/QuillonToolMessageFields.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Phase = VeskAppBundleInstallerLaunchPhase;
using Progress = VeskAppBundleInstallerLaunchProgress;
using Result = VeskAppBundleReplacementLaunchResult;
using Value = QuillonPropertyListValue;

std::string json(const std::vector<QuillonToolMessageField>& fields) {
  QuillonToolJSONObject object;
  addMembers(fields, object);
  return object.text();
}

TEST(QuillonToolMessageFieldsTest, ARequestHasAllFieldsOfItsTable) {
  const VeskAppBundleReplacementRequest request{.stagedApplicationURL = QuillonURL::fileURL("/a.app"),
                                                .installedApplicationURL = QuillonURL::fileURL("/b.app"),
                                                .helperExecutableURL = QuillonURL::fileURL("/c"),
                                                .hostIdentity = std::nullopt,
                                                .shouldRequestAuthorizationIfNeeded = true,
                                                .launchUserContext = std::nullopt,
                                                .failureReportURL = std::nullopt,
                                                .failureReportAttemptIdentifier = "A"};

  const auto fields = messageFields(request);

  EXPECT_EQ(fields.size(), 14U);
  EXPECT_EQ(json(fields), R"({"stagedApplicationPath":"/a.app","installedApplicationPath":"/b.app",)"
                          R"("shouldRequestAuthorizationIfNeeded":true,"failureReportAttemptIdentifier":"A"})");
}

TEST(QuillonToolMessageFieldsTest, AResultHasTheFieldsOfItsCase) {
  const VeskAppBundleInstallerFailureDiagnostic diagnostic = {
      .phase = Phase::jobSubmission, .errorDomain = "D", .errorCode = 7, .errorDescription = "text"};
  const std::string expected = R"({"phase":"jobSubmission","errorDomain":"D","errorCode":7,"errorDescription":"text"})";

  EXPECT_EQ(json(messageFields(Result::launchFailed(diagnostic))), expected);
  EXPECT_EQ(json(messageFields(Result::protocolFailure(diagnostic))), expected);
  EXPECT_EQ(json(messageFields(Result::authorizationDenied(-60005))), R"({"status":-60005})");
  EXPECT_EQ(json(messageFields(Result::authorizationCancelled(-60006))), R"({"status":-60006})");
  EXPECT_EQ(json(messageFields(Result::timedOut(Phase::xpcReply))), R"({"phase":"xpcReply"})");
  EXPECT_THAT(messageFields(Result::launched()), IsEmpty());
  EXPECT_THAT(messageFields(Result::helperUnavailable()), IsEmpty());
}

TEST(QuillonToolMessageFieldsTest, AnEventHasTheFieldsOfItsCase) {
  EXPECT_EQ(json(messageFields(Progress::authorizationRequired({.destinationParentIsWritable = true}))),
            R"({"destinationParentIsWritable":true,"canPreserveInstalledOwnership":false})");
  EXPECT_EQ(json(messageFields(Progress::authorizationEnded(9223372036854775807U))),
            R"({"elapsedNanoseconds":9223372036854775807})");
  EXPECT_THAT(messageFields(Progress::handoffStarted()), IsEmpty());
  EXPECT_THAT(messageFields(Progress::authorizationBegan()), IsEmpty());
  EXPECT_THAT(messageFields(Progress::jobSubmitted()), IsEmpty());
}

TEST(QuillonToolMessageFieldsTest, ALineShowsWhatWasReceivedWhereItIsSomethingElse) {
  const std::vector<QuillonToolMessageField> fields = {
      {.name = "same", .key = "same", .value = Value(true)},
      {.name = "converted", .key = "converted", .value = Value(42)},
      {.name = "kind", .key = "kind", .value = Value(true)},
      {.name = "refused", .key = "refused", .value = std::nullopt},
      {.name = "missing", .key = "missing", .value = std::nullopt},
      {.name = "renamed", .key = "key", .value = Value("text")},
  };
  const Value::Dictionary message = {{"same", Value(true)},
                                     {"converted", Value("+42")},
                                     {"kind", Value(1)},
                                     {"refused", Value(1.5)},
                                     {"key", Value("text")}};

  EXPECT_THAT(explainingLines(fields, message, "case"),
              ElementsAre("same: true", "converted: 42 (received: string \"+42\")", "kind: true (received: integer 1)",
                          "refused: none (received: real 1.5)", "missing: none", "renamed: text"));
}

TEST(QuillonToolMessageFieldsTest, KeysThatAreNotReadFollowTheFields) {
  const Value::Dictionary message = {{"case", Value("x")}, {"b", Value(1)}, {"a", Value(Value::Array{})}};

  EXPECT_THAT(explainingLines({}, message, "case"),
              ElementsAre("a: not read (received: array of 0)", "b: not read (received: integer 1)"));
}

}  // namespace
}  // namespace quillon
