#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleDetachedJobSubmitter.h"

#include "QuillonCore/Runtime/Linux/QuillonDetachedProcess.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/JobSubmissionFailure.h"

namespace quillon {

void VeskAppBundleDetachedJobSubmitter::submit(const VeskAppBundleLaunchdJob& job,
                                               const VeskAppBundleLaunchdAuthorization& /*authorization*/,
                                               const std::function<bool()>& shouldProceed) {
  try {
    requireProgram(job);
    requireProceeding(shouldProceed);
    startDetachedProcess(job.programArguments.front(), {job.programArguments.begin() + 1, job.programArguments.end()},
                         environmentForOwnPrivileges());
  } catch (const QuillonSystemError& error) {
    throw jobSubmissionFailure(error);
  }
}

}  // namespace quillon
