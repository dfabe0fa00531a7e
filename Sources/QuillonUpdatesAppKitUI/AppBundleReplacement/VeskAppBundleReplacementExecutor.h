#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <string_view>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Runtime/QuillonSystemLog.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementBackup.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementCandidate.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementOwnershipMatching.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementPermissionChecking.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementPrivilegeChecking.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRelaunching.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRequest.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementResult.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateValidating.h"

namespace quillon {

/// Swaps an installed application bundle for a staged one, and starts it.
///
/// The old bundle is kept as a backup until the new one runs; every failure after it was moved aside brings it back. On
/// disk, in order: both bundles in their places; the old one under its backup name and nothing at the installed path;
/// the staged one at the installed path; no backup.
class VeskAppBundleReplacementExecutor {
 public:
  /// Without `permissionChecker`, `ownershipMatcher` or `validator`, the system's own on the same file manager.
  VeskAppBundleReplacementExecutor(std::shared_ptr<const QuillonFileManaging> fileManager,
                                   std::shared_ptr<VeskAppBundleReplacementRelaunching> relauncher,
                                   std::shared_ptr<const VeskAppBundleReplacementPermissionChecking> permissionChecker,
                                   std::shared_ptr<const VeskAppBundleReplacementPrivilegeChecking> privilegeChecker,
                                   std::shared_ptr<const VeskAppBundleReplacementOwnershipMatching> ownershipMatcher,
                                   QuillonDiagnosticLog diagnosticLog,
                                   std::shared_ptr<const VeskAppBundleUpdateValidating> validator = nullptr);

  /// Performs the replacement. On a failure, starts whatever is installed at the end and throws the failure:
  /// a VeskUpdateInstallerError, or a QuillonSystemError of reading owners.
  VeskAppBundleReplacementResult executeReplacement(const VeskAppBundleReplacementRequest& request);

  /// Starts the bundle at the installed path, if there is one, after `error` ended a replacement.
  void relaunchInstalledApplicationIfPossible(const VeskAppBundleReplacementRequest& request,
                                              const std::exception& error) noexcept;

 private:
  VeskAppBundleReplacementResult performReplacement(const VeskAppBundleReplacementRequest& request);
  void requireBundles(const QuillonURL& staged, const QuillonURL& installed) const;
  void requireWritableDestination(const QuillonURL& installed) const;
  [[nodiscard]] VeskAppBundleReplacementCandidate makeCandidate(const QuillonURL& staged,
                                                                const QuillonURL& installed) const;
  [[nodiscard]] VeskAppBundleReplacementCandidate copyBeside(const QuillonURL& staged,
                                                             const QuillonURL& installed) const;
  void prepare(const VeskAppBundleReplacementCandidate& candidate,
               const VeskAppBundleReplacementRequest& request) const;
  void releaseFromQuarantine(const VeskAppBundleReplacementCandidate& candidate) const;
  [[nodiscard]] std::optional<QuillonURL> swapIn(const VeskAppBundleReplacementCandidate& candidate,
                                                 const QuillonURL& installed);
  void moveInstalledAside(VeskAppBundleReplacementBackup& backup) const;
  [[nodiscard]] bool moveIntoPlace(const VeskAppBundleReplacementCandidate& candidate,
                                   const QuillonURL& installed) const;
  void flushToDisk(const QuillonURL& installed) const;
  void log(std::string_view message) const;

  std::shared_ptr<const QuillonFileManaging> fileManager_;
  std::shared_ptr<VeskAppBundleReplacementRelaunching> relauncher_;
  std::shared_ptr<const VeskAppBundleReplacementPermissionChecking> permissionChecker_;
  std::shared_ptr<const VeskAppBundleReplacementPrivilegeChecking> privilegeChecker_;
  std::shared_ptr<const VeskAppBundleReplacementOwnershipMatching> ownershipMatcher_;
  QuillonDiagnosticLog diagnosticLog_;
  std::shared_ptr<const VeskAppBundleUpdateValidating> validator_;
};

}  // namespace quillon
