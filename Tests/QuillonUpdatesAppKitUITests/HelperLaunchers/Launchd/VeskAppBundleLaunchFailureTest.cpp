#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchFailure.h"

namespace quillon {
namespace {

using Code = VeskUpdateInstallerError::Code;
using Phase = VeskAppBundleInstallerLaunchPhase;
using Result = VeskAppBundleReplacementLaunchResult;

template <typename Error>
Result resultOf(const Error& error) {
  return launchFailureResult(std::make_exception_ptr(error), Phase::postAuthorization);
}

Result described(const char* description) {
  return Result::launchFailed(
      {.phase = Phase::postAuthorization, .errorDomain = {}, .errorCode = {}, .errorDescription = description});
}

const VeskAppBundleInstallerFailureDiagnostic kDiagnostic{
    .phase = Phase::jobSubmission, .errorDomain = "bus", .errorCode = 5, .errorDescription = "no"};

TEST(VeskAppBundleLaunchFailureTest, AuthorizationErrorsKeepTheirStatus) {
  EXPECT_EQ(resultOf(VeskUpdateInstallerError::authorizationDenied({.status = -60007, .message = {}})),
            Result::authorizationDenied(-60007));
  EXPECT_EQ(resultOf(VeskUpdateInstallerError::authorizationCancelled({.status = -128, .message = {}})),
            Result::authorizationCancelled(-128));
}

TEST(VeskAppBundleLaunchFailureTest, AuthorizationErrorsWithoutStatusHaveTheUsualOne) {
  EXPECT_EQ(resultOf(VeskUpdateInstallerError::authorizationDenied({})), Result::authorizationDenied(-60005));
  EXPECT_EQ(resultOf(VeskUpdateInstallerError::authorizationCancelled({})), Result::authorizationCancelled(-60006));
  EXPECT_EQ(resultOf(VeskUpdateInstallerError(Code::authorizationDenied)), Result::authorizationDenied(-60005));
}

TEST(VeskAppBundleLaunchFailureTest, LaunchErrorsKeepTheirPayload) {
  EXPECT_EQ(resultOf(VeskUpdateInstallerError::replacementHelperLaunchTimedOut(Phase::preAuthorization)),
            Result::timedOut(Phase::preAuthorization));
  EXPECT_EQ(resultOf(VeskUpdateInstallerError::replacementHelperLaunchFailed(kDiagnostic)),
            Result::launchFailed(kDiagnostic));
  EXPECT_EQ(resultOf(VeskUpdateInstallerError::replacementHelperProtocolFailure(kDiagnostic)),
            Result::protocolFailure(kDiagnostic));
  EXPECT_EQ(resultOf(VeskUpdateInstallerError(Code::replacementHelperUnavailable)), Result::helperUnavailable());
}

TEST(VeskAppBundleLaunchFailureTest, TimeOutWithoutPhaseHappenedWhereTheLaunchStood) {
  EXPECT_EQ(resultOf(VeskUpdateInstallerError(Code::replacementHelperLaunchTimedOut)),
            Result::timedOut(Phase::postAuthorization));
}

TEST(VeskAppBundleLaunchFailureTest, EveryOtherInstallerErrorIsDescribed) {
  EXPECT_EQ(resultOf(VeskUpdateInstallerError::destinationNotWritable()), described("destinationNotWritable"));
  EXPECT_EQ(resultOf(VeskUpdateInstallerError(Code::replacementHelperLaunchFailed)),
            described("replacementHelperLaunchFailed"));
}

TEST(VeskAppBundleLaunchFailureTest, SystemErrorsKeepDomainCodeAndText) {
  EXPECT_EQ(
      resultOf(QuillonSystemError("bus", 13, "denied")),
      Result::launchFailed(
          {.phase = Phase::postAuthorization, .errorDomain = "bus", .errorCode = 13, .errorDescription = "denied"}));
}

TEST(VeskAppBundleLaunchFailureTest, CancellationIsAFailureOfTheLaunchAndNotTheUsers) {
  EXPECT_EQ(resultOf(QuillonCancellationError()), described("The operation was cancelled."));
}

TEST(VeskAppBundleLaunchFailureTest, UnknownExceptionsAreFailuresToo) {
  EXPECT_EQ(resultOf(std::runtime_error("odd")), described("odd"));
  EXPECT_EQ(resultOf(7),
            Result::launchFailed(
                {.phase = Phase::postAuthorization, .errorDomain = {}, .errorCode = {}, .errorDescription = {}}));
}

}  // namespace
}  // namespace quillon
