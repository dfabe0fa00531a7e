#include "QuillonUpdateInstaller/QuillonUpdateInstallerFailureRecorder.h"

#include <cerrno>
#include <string_view>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReport.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReportStore.h"

namespace quillon {
namespace {

constexpr std::size_t kLargestReport = VeskAppBundleUpdateFailureReportStore::kLargestReport;
// Nothing runs or sources a file of that name, in whichever folder it is made.
constexpr std::string_view kReportExtension = "plist";

bool isFailureReport(std::string_view bytes) {
  try {
    (void)VeskAppBundleUpdateFailureReport::decoded(bytes);
    return true;
  } catch (const QuillonError&) {
    return false;
  }
}

}  // namespace

QuillonUpdateInstallerFailureRecorder::QuillonUpdateInstallerFailureRecorder(
    std::shared_ptr<const QuillonFileManaging> fileManager,
    std::shared_ptr<const VeskAppBundleReplacementPrivilegeChecking> privilegeChecker, std::function<TimePoint()> now)
    : fileManager_(std::move(fileManager)), privilegeChecker_(std::move(privilegeChecker)), now_(std::move(now)) {}

void QuillonUpdateInstallerFailureRecorder::recordFailureReportIfPossible(
    const std::string& errorDescription, const std::optional<QuillonUpdateInstallerArguments>& arguments) const {
  if (!arguments) return;
  const VeskAppBundleUpdateFailureReportStore store(fileManager_, now_);
  const std::optional<std::string>& attempt = arguments->failureReportAttemptIdentifier;
  if (!arguments->failureReportURL) {
    store.writeFailureReport(errorDescription, arguments->hostIdentity.bundleIdentifier, now_(), attempt);
    return;
  }
  const QuillonURL& report = *arguments->failureReportURL;
  requirePlaceForReport(VeskAppBundleUpdateFailureReportStore::attemptReportURL(report, attempt).value_or(report),
                        arguments->launchUserContext);
  store.writeFailureReport(errorDescription, report, now_(), attempt);
  if (arguments->launchUserContext) setFailureReportOwnerIfPossible(report, *arguments->launchUserContext);
}

void QuillonUpdateInstallerFailureRecorder::requirePlaceForReport(
    const QuillonURL& file, const std::optional<VeskAppBundleLaunchdUserContext>& user) const {
  if (!privilegeChecker_->processCanReplaceNonWritableDestination()) return;
  if (file.pathExtension() != kReportExtension) {
    throw QuillonSystemError::posix(EPERM, "write a failure report, which is a .plist file, to", file.path());
  }
  const std::optional<QuillonFileStatus> existing = fileManager_->itemStatus(file);
  if (!existing) return;
  if (user && user->userIdentifier != 0 && existing->userIdentifier == user->userIdentifier) return;
  if (existing->type == QuillonFileType::regular &&
      isFailureReport(fileManager_->contentsOfFile(file, kLargestReport))) {
    return;
  }
  throw QuillonSystemError::posix(EEXIST, "replace by a failure report, as it is none and not the user's,",
                                  file.path());
}

void QuillonUpdateInstallerFailureRecorder::setFailureReportOwnerIfPossible(
    const QuillonURL& file, const VeskAppBundleLaunchdUserContext& user) const {
  try {
    (void)fileManager_->changeOwnerOfFile(file, user.userIdentifier, user.groupIdentifier, kLargestReport,
                                          isFailureReport);
  } catch (const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): the host can still read what it cannot own
  }
}

}  // namespace quillon
