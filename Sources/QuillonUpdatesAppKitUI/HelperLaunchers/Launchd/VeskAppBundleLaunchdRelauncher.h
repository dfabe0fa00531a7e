#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Runtime/QuillonSystemLog.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleLaunchdUserContext.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementPrivilegeChecking.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRelaunching.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdAuthorizationProviding.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdJobSubmitting.h"

namespace quillon {

/// Absolute paths of the programs that a relaunch job runs.
struct VeskAppBundleRelaunchToolPaths {
  /// Runs a command as a user, in that user's session: "launchctl asuser 501 …".
  std::string launchctl;
  /// Opens an application bundle.
  std::string open;

  /// The platform's own.
  [[nodiscard]] static VeskAppBundleRelaunchToolPaths systemDefault();

  friend bool operator==(const VeskAppBundleRelaunchToolPaths&, const VeskAppBundleRelaunchToolPaths&) = default;
};

/// Starts the updated application as its user even when this process runs as root.
///
/// An unprivileged process lets the workspace do it. A privileged one submits a job that opens the application.
class VeskAppBundleLaunchdRelauncher final : public VeskAppBundleReplacementRelaunching {
 public:
  VeskAppBundleLaunchdRelauncher(
      std::shared_ptr<VeskAppBundleReplacementRelaunching> workspaceRelauncher,
      std::shared_ptr<VeskAppBundleReplacementPrivilegeChecking> privilegeChecker,
      std::shared_ptr<VeskAppBundleLaunchdAuthorizationProviding> authorizationProvider,
      std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> jobSubmitter,
      std::optional<VeskAppBundleLaunchdUserContext> launchUserContext,
      std::shared_ptr<const QuillonFileManaging> fileManager = makeSystemFileManager(),
      VeskAppBundleRelaunchToolPaths toolPaths = VeskAppBundleRelaunchToolPaths::systemDefault(),
      QuillonDiagnosticLog diagnosticLog = &writeToSystemLog);

  /// True when the workspace started the application, or the service manager took the job that does. A privileged
  /// relaunch that fails answers false and leaves one line in the diagnostic log.
  [[nodiscard]] bool relaunchApplication(const QuillonURL& applicationURL) noexcept override;

  /// The job that opens the application: as the user of the launch user context, else in the user domain.
  [[nodiscard]] VeskAppBundleLaunchdJob relaunchJob(const QuillonURL& applicationURL) const;

  /// The bundle's identifier followed by ".quillon-relaunch", or a fixed label for a bundle without identifier.
  [[nodiscard]] std::string relaunchLabel(const QuillonURL& applicationURL) const;

 private:
  void submitRelaunchJob(const QuillonURL& applicationURL);
  void logFailure(const QuillonURL& applicationURL, std::string_view error) const noexcept;

  const std::shared_ptr<VeskAppBundleReplacementRelaunching> workspaceRelauncher_;
  const std::shared_ptr<VeskAppBundleReplacementPrivilegeChecking> privilegeChecker_;
  const std::shared_ptr<VeskAppBundleLaunchdAuthorizationProviding> authorizationProvider_;
  const std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> jobSubmitter_;
  const std::optional<VeskAppBundleLaunchdUserContext> launchUserContext_;
  const std::shared_ptr<const QuillonFileManaging> fileManager_;
  const VeskAppBundleRelaunchToolPaths toolPaths_;
  const QuillonDiagnosticLog diagnosticLog_;
};

}  // namespace quillon
