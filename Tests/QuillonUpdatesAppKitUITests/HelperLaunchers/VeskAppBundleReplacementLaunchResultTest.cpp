#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleReplacementLaunchResult.h"

namespace quillon {
namespace {

using Phase = VeskAppBundleInstallerLaunchPhase;
using Result = VeskAppBundleReplacementLaunchResult;

VeskAppBundleInstallerFailureDiagnostic failureIn(Phase phase) {
  return {.phase = phase, .errorDomain = std::nullopt, .errorCode = std::nullopt, .errorDescription = ""};
}

TEST(VeskAppBundleReplacementLaunchResultTest, EveryCaseHasTheNameOfItsFactory) {
  EXPECT_EQ(Result::launchFailed({}).caseName(), "launchFailed");
  EXPECT_EQ(Result::protocolFailure({}).caseName(), "protocolFailure");
  EXPECT_EQ(Result::authorizationDenied(-60005).caseName(), "authorizationDenied");
  EXPECT_EQ(Result::authorizationCancelled(-60006).caseName(), "authorizationCancelled");
  EXPECT_EQ(Result::timedOut(Phase::xpcReply).caseName(), "timedOut");
  EXPECT_EQ(Result::launched().caseName(), "launched");
  EXPECT_EQ(Result::helperUnavailable().caseName(), "helperUnavailable");
}

TEST(VeskAppBundleReplacementLaunchResultTest, ResultsAreEqualByCaseAndPayload) {
  const VeskAppBundleInstallerFailureDiagnostic diagnostic = {
      .phase = Phase::jobSubmission, .errorDomain = "D", .errorCode = 1, .errorDescription = "text"};

  EXPECT_EQ(Result::launchFailed(diagnostic), Result::launchFailed(diagnostic));
  EXPECT_NE(Result::launchFailed(diagnostic), Result::launchFailed({}));
  EXPECT_NE(Result::launchFailed({}), Result::protocolFailure({}));
  EXPECT_NE(Result::authorizationDenied(1), Result::authorizationCancelled(1));
  EXPECT_NE(Result::authorizationDenied(1), Result::authorizationDenied(2));
  EXPECT_NE(Result::timedOut(Phase::xpcReply), Result::timedOut(Phase::authorization));
  EXPECT_NE(Result::launched(), Result::helperUnavailable());
}

TEST(VeskAppBundleReplacementLaunchResultTest, WithoutAnAnswerAnInstallerMayHaveBeenStarted) {
  for (const Result& result :
       {Result::launched(), Result::timedOut(Phase::preAuthorization), Result::timedOut(Phase::postAuthorization),
        Result::protocolFailure(failureIn(Phase::xpcConnection)),
        Result::protocolFailure(failureIn(Phase::xpcReply))}) {
    EXPECT_TRUE(result.mayHaveLaunched()) << result.caseName();
  }
  for (const Result& result :
       {Result::launchFailed(failureIn(Phase::jobSubmission)), Result::helperUnavailable(),
        Result::authorizationDenied(-60005), Result::authorizationCancelled(-60006),
        Result::timedOut(Phase::messageResolution), Result::protocolFailure(failureIn(Phase::messageResolution))}) {
    EXPECT_FALSE(result.mayHaveLaunched()) << result.caseName();
  }
}

}  // namespace
}  // namespace quillon
