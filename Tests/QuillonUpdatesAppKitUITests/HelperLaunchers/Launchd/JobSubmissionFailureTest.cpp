#include <gtest/gtest.h>

#include <cerrno>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/JobSubmissionFailure.h"

namespace quillon {
namespace {

TEST(JobSubmissionFailureTest, CarriesTheErrorAsADiagnosticOfJobSubmission) {
  const auto failure = jobSubmissionFailure(QuillonSystemError("domain", 5, "text"));

  EXPECT_EQ(failure, VeskUpdateInstallerError::replacementHelperLaunchFailed(
                         {.phase = VeskAppBundleInstallerLaunchPhase::jobSubmission,
                          .errorDomain = "domain",
                          .errorCode = 5,
                          .errorDescription = "text"}));
}

TEST(JobSubmissionFailureTest, JobNeedsAnAbsoluteProgramPath) {
  const VeskAppBundleLaunchdJob usable{.label = "a", .domain = {}, .programArguments = {"/bin/true"}};
  const VeskAppBundleLaunchdJob relative{.label = "a", .domain = {}, .programArguments = {"true"}};
  const VeskAppBundleLaunchdJob empty{.label = "a", .domain = {}, .programArguments = {}};

  EXPECT_NO_THROW(requireProgram(usable));
  EXPECT_THROW(requireProgram(relative), QuillonSystemError);
  EXPECT_THROW(requireProgram(empty), QuillonSystemError);
}

TEST(JobSubmissionFailureTest, LateSubmissionHasTimedOutAfterAuthorization) {
  EXPECT_NO_THROW(requireProceeding([] { return true; }));
  try {
    requireProceeding([] { return false; });
    FAIL() << "no error";
  } catch (const VeskUpdateInstallerError& error) {
    EXPECT_EQ(error, VeskUpdateInstallerError::replacementHelperLaunchTimedOut(
                         VeskAppBundleInstallerLaunchPhase::postAuthorization));
  }
}

}  // namespace
}  // namespace quillon
