#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/JobSubmissionFailure.h"

#include <cerrno>

namespace quillon {

VeskUpdateInstallerError jobSubmissionFailure(const QuillonSystemError& error) {
  return VeskUpdateInstallerError::replacementHelperLaunchFailed(
      {.phase = VeskAppBundleInstallerLaunchPhase::jobSubmission,
       .errorDomain = error.domain(),
       .errorCode = error.code(),
       .errorDescription = error.description()});
}

void requireProgram(const VeskAppBundleLaunchdJob& job) {
  if (!job.programArguments.empty() && job.programArguments.front().starts_with('/')) return;
  throw QuillonSystemError::posix(EINVAL, "find the program of job", job.label);
}

void requireProceeding(const std::function<bool()>& shouldProceed) {
  if (shouldProceed()) return;
  throw VeskUpdateInstallerError::replacementHelperLaunchTimedOut(VeskAppBundleInstallerLaunchPhase::postAuthorization);
}

}  // namespace quillon
