#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageRefusal.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"

namespace quillon {
namespace {

using Diagnostic = VeskAppBundleInstallerFailureDiagnostic;
using Phase = VeskAppBundleInstallerLaunchPhase;
using Result = VeskAppBundleReplacementLaunchResult;
using Value = QuillonPropertyListValue;
using Reply = Value::Dictionary;

const VeskAppBundleStatusMessage kNoMessages;

Result invalidReply() {
  return Result::protocolFailure({.phase = Phase::xpcReply,
                                  .errorDomain = "Quillon.XPCReply",
                                  .errorCode = std::nullopt,
                                  .errorDescription = "The launcher service returned an invalid result."});
}

Diagnostic completeDiagnostic() {
  return {.phase = Phase::jobSubmission, .errorDomain = "D", .errorCode = -7, .errorDescription = "text"};
}

Diagnostic diagnosticOf(Phase phase) {
  Diagnostic diagnostic;
  diagnostic.phase = phase;
  return diagnostic;
}

Reply completeReply(const std::string& name) {
  return {{"result", Value(name)},
          {"phase", Value("jobSubmission")},
          {"errorDomain", Value("D")},
          {"errorCode", Value(-7)},
          {"errorDescription", Value("text")}};
}

Reply statusReply(const std::string& name, Value status) {
  return {{"result", Value(name)}, {"phase", Value("authorization")}, {"errorCode", std::move(status)}};
}

/// The reason why a reply is invalid, empty for one that is not.
std::string refusal(const Reply& reply) {
  try {
    static_cast<void>(readReplacementLaunchResult(reply));
    return {};
  } catch (const VeskAppBundleXPCMessageRefusal& refusal) {
    EXPECT_EQ(replacementLaunchResult(reply), invalidReply());
    return refusal.description();
  }
}

TEST(VeskAppBundleXPCReplacementResultTest, CasesWithoutPayloadAreTheirName) {
  EXPECT_EQ(xpcDictionary(Result::launched(), kNoMessages), (Reply{{"result", Value("launched")}}));
  EXPECT_EQ(xpcDictionary(Result::helperUnavailable(), kNoMessages), (Reply{{"result", Value("helperUnavailable")}}));
}

TEST(VeskAppBundleXPCReplacementResultTest, ATimeoutCarriesItsPhase) {
  EXPECT_EQ(xpcDictionary(Result::timedOut(Phase::postAuthorization), kNoMessages),
            (Reply{{"result", Value("timedOut")}, {"phase", Value("postAuthorization")}}));
}

TEST(VeskAppBundleXPCReplacementResultTest, AFailureCarriesItsDiagnostic) {
  EXPECT_EQ(xpcDictionary(Result::launchFailed(completeDiagnostic()), kNoMessages), completeReply("launchFailed"));
  EXPECT_EQ(xpcDictionary(Result::protocolFailure(completeDiagnostic()), kNoMessages),
            completeReply("protocolFailure"));
}

TEST(VeskAppBundleXPCReplacementResultTest, WhatADiagnosticLacksIsNotWritten) {
  EXPECT_EQ(xpcDictionary(Result::launchFailed(diagnosticOf(Phase::preAuthorization)), kNoMessages),
            (Reply{{"result", Value("launchFailed")}, {"phase", Value("preAuthorization")}}));
}

TEST(VeskAppBundleXPCReplacementResultTest, AStatusTravelsAsTheCodeOfADiagnosticWithTheSystemsText) {
  const VeskAppBundleStatusMessage messages = [](std::int32_t status) {
    return std::optional("status " + std::to_string(status));
  };

  EXPECT_EQ(xpcDictionary(Result::authorizationDenied(-60005), messages),
            (Reply{{"result", Value("authorizationDenied")},
                   {"phase", Value("authorization")},
                   {"errorDomain", Value("NSOSStatusErrorDomain")},
                   {"errorCode", Value(-60005)},
                   {"errorDescription", Value("status -60005")}}));
  EXPECT_EQ(xpcDictionary(Result::authorizationCancelled(-60006), messages),
            (Reply{{"result", Value("authorizationCancelled")},
                   {"phase", Value("authorization")},
                   {"errorDomain", Value("NSOSStatusErrorDomain")},
                   {"errorCode", Value(-60006)},
                   {"errorDescription", Value("status -60006")}}));
}

TEST(VeskAppBundleXPCReplacementResultTest, AStatusWithoutTextHasNoDescription) {
  const VeskAppBundleStatusMessage unknown = [](std::int32_t) { return std::optional<std::string>(); };
  const Reply expected = {{"result", Value("authorizationDenied")},
                          {"phase", Value("authorization")},
                          {"errorDomain", Value("NSOSStatusErrorDomain")},
                          {"errorCode", Value(-60005)}};

  EXPECT_EQ(xpcDictionary(Result::authorizationDenied(-60005), unknown), expected);
  EXPECT_EQ(xpcDictionary(Result::authorizationDenied(-60005), kNoMessages), expected);
}

TEST(VeskAppBundleXPCReplacementResultTest, EveryResultSurvivesTheTrip) {
  using Limits = std::numeric_limits<std::int32_t>;
  for (const Result& result :
       {Result::launched(), Result::helperUnavailable(), Result::timedOut(Phase::messageResolution),
        Result::timedOut(Phase::xpcReply), Result::launchFailed(completeDiagnostic()), Result::launchFailed({}),
        Result::protocolFailure(
            {.errorDomain = "", .errorCode = std::numeric_limits<std::int64_t>::min(), .errorDescription = ""}),
        Result::authorizationDenied(-60005), Result::authorizationDenied(Limits::min()),
        Result::authorizationCancelled(Limits::max()), invalidReply()}) {
    SCOPED_TRACE(result.caseName());
    const Reply reply = xpcDictionary(result, [](std::int32_t) { return std::optional<std::string>("text"); });

    EXPECT_EQ(replacementLaunchResult(reply), result);
    EXPECT_EQ(replacementLaunchResult(*readPropertyList(writeBinaryPropertyList(Value(reply))).getIf<Reply>()), result);
  }
}

TEST(VeskAppBundleXPCReplacementResultTest, EveryPhaseSurvivesTheTrip) {
  for (const Phase phase : {Phase::messageResolution, Phase::preAuthorization, Phase::authorization,
                            Phase::postAuthorization, Phase::jobSubmission, Phase::xpcConnection, Phase::xpcReply}) {
    EXPECT_EQ(replacementLaunchResult(xpcDictionary(Result::timedOut(phase), kNoMessages)), Result::timedOut(phase));
  }
}

TEST(VeskAppBundleXPCReplacementResultTest, ARefusedAuthorizationIsReadFromItsCode) {
  EXPECT_EQ(replacementLaunchResult(statusReply("authorizationDenied", Value(-60005))),
            Result::authorizationDenied(-60005));
  EXPECT_EQ(replacementLaunchResult(statusReply("authorizationCancelled", Value(-60006.0))),
            Result::authorizationCancelled(-60006));
}

TEST(VeskAppBundleXPCReplacementResultTest, AStatusOfAnotherPhaseMakesTheReplyInvalid) {
  Reply reply = statusReply("authorizationDenied", Value(-60005));
  reply.insert_or_assign("phase", Value("jobSubmission"));

  EXPECT_EQ(refusal(reply), "\"phase\" is no phase of an authorization: string \"jobSubmission\"");
}

TEST(VeskAppBundleXPCReplacementResultTest, AStatusBeyond32BitsMakesTheReplyInvalid) {
  for (const char* const name : {"authorizationDenied", "authorizationCancelled"}) {
    EXPECT_NE(refusal(statusReply(name, Value(std::int64_t{2147483648}))), "");
    EXPECT_NE(refusal(statusReply(name, Value(std::int64_t{-2147483649}))), "");
    EXPECT_NE(refusal(statusReply(name, Value(1e300))), "");
  }
}

TEST(VeskAppBundleXPCReplacementResultTest, AnAuthorizationWithoutStatusMakesTheReplyInvalid) {
  Reply reply = statusReply("authorizationCancelled", Value("-60006"));

  EXPECT_EQ(refusal(reply), "\"errorCode\" is no number: string \"-60006\"");
  reply.erase("errorCode");
  EXPECT_EQ(refusal(reply), "\"errorCode\" is missing");
}

TEST(VeskAppBundleXPCReplacementResultTest, AnUnknownPhaseMakesTheReplyInvalid) {
  EXPECT_EQ(refusal({{"result", Value("timedOut")}, {"phase", Value("later")}}),
            "\"phase\" is no phase of a launch: string \"later\"");
  EXPECT_NE(refusal({{"result", Value("launchFailed")}, {"phase", Value("")}}), "");
  EXPECT_NE(refusal({{"result", Value("protocolFailure")}, {"phase", Value("XPCReply")}}), "");
  EXPECT_NE(refusal({{"result", Value("authorizationDenied")}, {"phase", Value("later")}, {"errorCode", Value(1)}}),
            "");
}

TEST(VeskAppBundleXPCReplacementResultTest, AMissingPhaseMakesTheReplyInvalid) {
  for (const char* const name :
       {"timedOut", "launchFailed", "protocolFailure", "authorizationDenied", "authorizationCancelled"}) {
    EXPECT_EQ(refusal({{"result", Value(name)}, {"errorCode", Value(1)}}), "\"phase\" is missing") << name;
    EXPECT_EQ(refusal({{"result", Value(name)}, {"errorCode", Value(1)}, {"phase", Value(2)}}),
              "\"phase\" is no text: integer 2")
        << name;
  }
}

TEST(VeskAppBundleXPCReplacementResultTest, PartsOfADiagnosticThatCannotBeReadAreLeftOut) {
  const Reply reply = {{"result", Value("launchFailed")},
                       {"phase", Value("jobSubmission")},
                       {"errorDomain", Value(1)},
                       {"errorCode", Value("7")},
                       {"errorDescription", Value(Value::Array{})}};

  EXPECT_EQ(replacementLaunchResult(reply), Result::launchFailed(diagnosticOf(Phase::jobSubmission)));
}

TEST(VeskAppBundleXPCReplacementResultTest, AReplyWithoutAKnownResultIsInvalid) {
  EXPECT_EQ(refusal({}), "\"result\" is missing");
  EXPECT_EQ(refusal({{"result", Value(1)}}), "\"result\" is no text: integer 1");
  EXPECT_EQ(refusal({{"result", Value("")}}), "\"result\" is no result of a launch: string \"\"");
  EXPECT_NE(refusal({{"result", Value("Launched")}}), "");
  EXPECT_NE(refusal({{"result", Value("launched ")}}), "");
  EXPECT_NE(refusal({{"result", Value(std::string("launched\0", 9))}}), "");
  EXPECT_NE(refusal({{"result", Value(Value::Array{Value("launched")})}}), "");
  EXPECT_NE(refusal({{"result", Value(std::string(1'000'000, 'x'))}}), "");
}

TEST(VeskAppBundleXPCReplacementResultTest, KeysThatACaseDoesNotHaveDoNoHarm) {
  EXPECT_EQ(replacementLaunchResult(completeReply("launched")), Result::launched());
  EXPECT_EQ(replacementLaunchResult(completeReply("helperUnavailable")), Result::helperUnavailable());
  EXPECT_EQ(replacementLaunchResult(completeReply("timedOut")), Result::timedOut(Phase::jobSubmission));
}

}  // namespace
}  // namespace quillon
