#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonUpdateInstaller/QuillonUpdateInstallerArguments.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementPrivilegeChecking.h"

namespace quillon {

/// Leaves the report of a failed installation where the host looks for it.
///
/// The report's path comes from the host, and a privileged installer must not become a way to overwrite or give away
/// other files: it writes property-list files only, replaces nothing but reports and files of the launch user, and
/// gives the user nothing but reports.
class QuillonUpdateInstallerFailureRecorder {
 public:
  using TimePoint = std::chrono::sys_time<std::chrono::microseconds>;

  QuillonUpdateInstallerFailureRecorder(
      std::shared_ptr<const QuillonFileManaging> fileManager,
      std::shared_ptr<const VeskAppBundleReplacementPrivilegeChecking> privilegeChecker,
      std::function<TimePoint()> now);

  /// Writes the report; nothing without arguments, which say where. Throws QuillonError when it cannot be written.
  void recordFailureReportIfPossible(const std::string& errorDescription,
                                     const std::optional<QuillonUpdateInstallerArguments>& arguments) const;

 private:
  void requirePlaceForReport(const QuillonURL& file, const std::optional<VeskAppBundleLaunchdUserContext>& user) const;
  void setFailureReportOwnerIfPossible(const QuillonURL& file, const VeskAppBundleLaunchdUserContext& user) const;

  std::shared_ptr<const QuillonFileManaging> fileManager_;
  std::shared_ptr<const VeskAppBundleReplacementPrivilegeChecking> privilegeChecker_;
  std::function<TimePoint()> now_;
};

}  // namespace quillon
