#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleServiceManagementJobSubmitter.h"

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/JobSubmissionFailure.h"

namespace quillon {
namespace {

VeskUpdateInstallerError refusalWithoutError() {
  return VeskUpdateInstallerError::replacementHelperLaunchFailed(
      {.phase = VeskAppBundleInstallerLaunchPhase::jobSubmission,
       .errorDomain = "ServiceManagement.SMJobSubmit",
       .errorCode = std::nullopt,
       .errorDescription = "SMJobSubmit returned false without an error."});
}

}  // namespace

void VeskAppBundleServiceManagementJobSubmitter::submit(const VeskAppBundleLaunchdJob& job,
                                                        const VeskAppBundleLaunchdAuthorization& authorization,
                                                        const std::function<bool()>& shouldProceed) {
  client_->removeJob(job, authorization.authorizationRef());
  requireProceeding(shouldProceed);
  const auto submission = client_->submitJob(job, authorization.authorizationRef());
  if (submission.wasTaken) return;
  throw submission.error ? jobSubmissionFailure(*submission.error) : refusalWithoutError();
}

}  // namespace quillon
