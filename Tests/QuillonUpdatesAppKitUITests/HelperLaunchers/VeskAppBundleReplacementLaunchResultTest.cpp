#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleReplacementLaunchResult.h"

namespace quillon {
namespace {

using Phase = VeskAppBundleInstallerLaunchPhase;
using Result = VeskAppBundleReplacementLaunchResult;

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

}  // namespace
}  // namespace quillon
