#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementExecutor.h"

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include "QuillonCore/Values/POSIXErrorName.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSignatureValidator.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleFileSafety.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementOwnershipMatcher.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementWriteProbe.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"

namespace quillon {
namespace {

/// An item that kept its quarantine mark.
struct QuarantineReleaseFailure {
  QuillonURL itemURL;
  std::string errorDescription;

  explicit QuarantineReleaseFailure(const QuillonFileFailure& failure)
      : itemURL(failure.itemURL),
        errorDescription(std::string(posixErrorName(failure.code)) + " (" +
                         std::generic_category().message(failure.code) + ")") {}
};

}  // namespace

VeskAppBundleReplacementExecutor::VeskAppBundleReplacementExecutor(
    std::shared_ptr<const QuillonFileManaging> fileManager,
    std::shared_ptr<VeskAppBundleReplacementRelaunching> relauncher,
    std::shared_ptr<const VeskAppBundleReplacementPermissionChecking> permissionChecker,
    std::shared_ptr<const VeskAppBundleReplacementPrivilegeChecking> privilegeChecker,
    std::shared_ptr<const VeskAppBundleReplacementOwnershipMatching> ownershipMatcher,
    QuillonDiagnosticLog diagnosticLog, std::shared_ptr<const VeskAppBundleUpdateValidating> validator)
    : fileManager_(std::move(fileManager)),
      relauncher_(std::move(relauncher)),
      permissionChecker_(std::move(permissionChecker)),
      privilegeChecker_(std::move(privilegeChecker)),
      ownershipMatcher_(std::move(ownershipMatcher)),
      diagnosticLog_(std::move(diagnosticLog)),
      validator_(std::move(validator)) {
  if (!permissionChecker_) permissionChecker_ = std::make_shared<VeskAppBundleReplacementWriteProbe>(fileManager_);
  if (!ownershipMatcher_) ownershipMatcher_ = std::make_shared<VeskAppBundleReplacementOwnershipMatcher>(fileManager_);
  if (!validator_) validator_ = std::make_shared<VeskAppBundleCodeSignatureValidator>(fileManager_);
}

VeskAppBundleReplacementResult VeskAppBundleReplacementExecutor::executeReplacement(
    const VeskAppBundleReplacementRequest& request) {
  try {
    return performReplacement(request);
  } catch (const std::exception& error) {
    relaunchInstalledApplicationIfPossible(request, error);
    throw;
  }
}

void VeskAppBundleReplacementExecutor::relaunchInstalledApplicationIfPossible(
    const VeskAppBundleReplacementRequest& request, const std::exception& /*error*/) noexcept {
  // The user is to find an application running, whichever it is; whether it started changes nothing any more.
  if (fileManager_->directoryExists(request.installedApplicationURL)) {
    (void)relauncher_->relaunchApplication(request.installedApplicationURL);
  }
}

VeskAppBundleReplacementResult VeskAppBundleReplacementExecutor::performReplacement(
    const VeskAppBundleReplacementRequest& request) {
  const QuillonURL& staged = request.stagedApplicationURL;
  const QuillonURL& installed = request.installedApplicationURL;
  VeskAppBundleReplacementBackup::recoverInterruptedReplacement(*fileManager_, installed, diagnosticLog_);
  VeskAppBundleReplacementCandidate::removeAbandonedCopies(*fileManager_, installed);
  requireBundles(staged, installed);
  if (request.hostIdentity) validator_->validateAppBundle(staged, *request.hostIdentity);
  requireWritableDestination(installed);

  VeskAppBundleReplacementCandidate candidate = makeCandidate(staged, installed);
  prepare(candidate, request);
  std::optional<QuillonURL> backupURL = swapIn(candidate, installed);
  if (!backupURL) {
    candidate = copyBeside(staged, installed);
    prepare(candidate, request);
    backupURL = swapIn(candidate, installed);
  }
  if (!backupURL) throw VeskUpdateInstallerError::replacementFailed();
  candidate.removeStagedRemains();
  return {.installedApplicationURL = installed, .backupApplicationURL = *backupURL};
}

/// Returns where the backup was; absent, with the old bundle back in its place, when only a copy could get there.
std::optional<QuillonURL> VeskAppBundleReplacementExecutor::swapIn(const VeskAppBundleReplacementCandidate& candidate,
                                                                   const QuillonURL& installed) {
  VeskAppBundleReplacementBackup backup(fileManager_, installed);
  moveInstalledAside(backup);
  if (!moveIntoPlace(candidate, installed)) return std::nullopt;
  flushToDisk(installed);
  if (!relauncher_->relaunchApplication(installed)) throw VeskUpdateInstallerError::relaunchFailed();
  backup.remove();
  (void)VeskAppBundleReplacementBackup::removeAbandonedBackups(*fileManager_, installed);
  return backup.url();
}

void VeskAppBundleReplacementExecutor::requireBundles(const QuillonURL& staged, const QuillonURL& installed) const {
  if (!VeskAppBundleFileSafety::isRealDirectoryAppBundle(*fileManager_, staged) ||
      !fileManager_->directoryExists(installed)) {
    throw VeskUpdateInstallerError::replacementFailed();
  }
}

void VeskAppBundleReplacementExecutor::requireWritableDestination(const QuillonURL& installed) const {
  if (permissionChecker_->destinationParentIsWritable(installed)) return;
  if (privilegeChecker_->processCanReplaceNonWritableDestination()) return;
  throw VeskUpdateInstallerError::destinationNotWritable();
}

VeskAppBundleReplacementCandidate VeskAppBundleReplacementExecutor::makeCandidate(const QuillonURL& staged,
                                                                                  const QuillonURL& installed) const {
  if (privilegeChecker_->processCanReplaceNonWritableDestination()) return copyBeside(staged, installed);
  try {
    const auto from = fileManager_->itemStatus(staged);
    const auto to = fileManager_->itemStatus(installed.deletingLastPathComponent());
    if (from && to && from->identity.device != to->identity.device) return copyBeside(staged, installed);
    return VeskAppBundleReplacementCandidate::inPlace(fileManager_, staged);
  } catch (const VeskUpdateInstallerError&) {
    throw;
  } catch (const QuillonError& error) {
    log(std::string("cannot look at the staged bundle error=") + error.what());
    throw VeskUpdateInstallerError::replacementFailed();
  }
}

VeskAppBundleReplacementCandidate VeskAppBundleReplacementExecutor::copyBeside(const QuillonURL& staged,
                                                                               const QuillonURL& installed) const {
  try {
    return VeskAppBundleReplacementCandidate::copiedBeside(fileManager_, staged, installed);
  } catch (const QuillonError& error) {
    log(std::string("cannot copy the staged bundle error=") + error.what());
    throw VeskUpdateInstallerError::replacementFailed();
  }
}

void VeskAppBundleReplacementExecutor::prepare(const VeskAppBundleReplacementCandidate& candidate,
                                               const VeskAppBundleReplacementRequest& request) const {
  ownershipMatcher_->matchOwnerAndGroupOfItem(candidate.url(), request.installedApplicationURL);
  releaseFromQuarantine(candidate);
  // What was validated before the copy may have been changed while it was copied; nobody else can reach the copy.
  if (candidate.isCopy() && request.hostIdentity) {
    validator_->validateAppBundle(candidate.url(), *request.hostIdentity);
  }
}

void VeskAppBundleReplacementExecutor::releaseFromQuarantine(const VeskAppBundleReplacementCandidate& candidate) const {
  std::optional<QuillonFileFailure> failure;
  try {
    failure = fileManager_->releaseQuarantine(candidate.url());
  } catch (const QuillonSystemError& error) {
    failure = {.itemURL = candidate.url(), .code = static_cast<int>(error.code())};
  }
  if (!failure) return;
  failure->itemURL = candidate.stagedCounterpart(failure->itemURL);
  const QuarantineReleaseFailure first(*failure);
  diagnosticLog_("Failed to release quarantine at " + candidate.stagedURL().path() +
                 "; firstFailedItem=" + first.itemURL.path() + " error=" + first.errorDescription);
}

void VeskAppBundleReplacementExecutor::moveInstalledAside(VeskAppBundleReplacementBackup& backup) const {
  try {
    backup.moveAside();
  } catch (const VeskUpdateInstallerError&) {
    throw;
  } catch (const QuillonError& error) {
    log(std::string("cannot move the installed bundle aside error=") + error.what());
    throw VeskUpdateInstallerError::replacementFailed();
  }
}

/// False when the bundle lies on another volume after all.
bool VeskAppBundleReplacementExecutor::moveIntoPlace(const VeskAppBundleReplacementCandidate& candidate,
                                                     const QuillonURL& installed) const {
  std::optional<QuillonFileStatus> status;
  try {
    fileManager_->moveItem(candidate.url(), installed);
    status = fileManager_->itemStatus(installed);
  } catch (const QuillonError& error) {
    const auto* const systemError = dynamic_cast<const QuillonSystemError*>(&error);
    if (systemError != nullptr && systemError->isPOSIX(EXDEV) && !candidate.isCopy()) return false;
    log(std::string("cannot move the staged bundle into place error=") + error.what());
    throw VeskUpdateInstallerError::replacementFailed();
  }
  if (status && status->identity == candidate.identity()) return true;
  log("what was moved into place is not what was validated installedApp=" + installed.path());
  throw VeskUpdateInstallerError::signatureValidationFailed();
}

void VeskAppBundleReplacementExecutor::flushToDisk(const QuillonURL& installed) const {
  try {
    fileManager_->synchronizeVolume(installed.deletingLastPathComponent());
  } catch (const QuillonSystemError& error) {
    // The swap stands; only a power cut within the next seconds could tell the difference.
    log(std::string("cannot flush the swap to disk error=") + error.what());
  }
}

void VeskAppBundleReplacementExecutor::log(std::string_view message) const {
  diagnosticLog_(std::string("VeskAppBundleReplacementExecutor: ").append(message));
}

}  // namespace quillon
