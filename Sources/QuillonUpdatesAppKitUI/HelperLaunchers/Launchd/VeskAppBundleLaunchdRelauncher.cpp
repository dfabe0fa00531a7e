#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdRelauncher.h"

#include <exception>
#include <utility>

namespace quillon {
namespace {

constexpr std::string_view kLabelSuffix = ".quillon-relaunch";
/// For a bundle that does not say who it is.
constexpr std::string_view kFallbackLabel = "io.quillon.application-relaunch";

}  // namespace

VeskAppBundleLaunchdRelauncher::VeskAppBundleLaunchdRelauncher(
    std::shared_ptr<VeskAppBundleReplacementRelaunching> workspaceRelauncher,
    std::shared_ptr<VeskAppBundleReplacementPrivilegeChecking> privilegeChecker,
    std::shared_ptr<VeskAppBundleLaunchdAuthorizationProviding> authorizationProvider,
    std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> jobSubmitter,
    std::optional<VeskAppBundleLaunchdUserContext> launchUserContext, BundleIdentifierReader bundleIdentifierReader,
    VeskAppBundleRelaunchToolPaths toolPaths, QuillonDiagnosticLog diagnosticLog)
    : workspaceRelauncher_(std::move(workspaceRelauncher)),
      privilegeChecker_(std::move(privilegeChecker)),
      authorizationProvider_(std::move(authorizationProvider)),
      jobSubmitter_(std::move(jobSubmitter)),
      launchUserContext_(std::move(launchUserContext)),
      bundleIdentifierReader_(std::move(bundleIdentifierReader)),
      toolPaths_(std::move(toolPaths)),
      diagnosticLog_(std::move(diagnosticLog)) {}

bool VeskAppBundleLaunchdRelauncher::relaunchApplication(const QuillonURL& applicationURL) noexcept {
  if (!privilegeChecker_->processCanReplaceNonWritableDestination()) {
    return workspaceRelauncher_->relaunchApplication(applicationURL);
  }
  try {
    submitRelaunchJob(applicationURL);
    return true;
  } catch (const std::exception& error) {
    logFailure(applicationURL, error.what());
    return false;
  }
}

void VeskAppBundleLaunchdRelauncher::submitRelaunchJob(const QuillonURL& applicationURL) {
  const auto authorization = authorizationProvider_->makeAuthorization();
  const VeskAppBundleLaunchdJob job = relaunchJob(applicationURL);
  if (job.domain == VeskAppBundleLaunchdJobDomain::system) {
    authorizationProvider_->requestServiceManagementRightsWithoutInteraction(*authorization,
                                                                             kServiceManagementRightName);
  }
  jobSubmitter_->submit(job, *authorization, [] { return true; });
}

VeskAppBundleLaunchdJob VeskAppBundleLaunchdRelauncher::relaunchJob(const QuillonURL& applicationURL) const {
  VeskAppBundleLaunchdJob job{.label = relaunchLabel(applicationURL),
                              .domain = VeskAppBundleLaunchdJobDomain::user,
                              .programArguments = {toolPaths_.open, applicationURL.path()}};
  if (launchUserContext_) {
    job.domain = VeskAppBundleLaunchdJobDomain::system;
    const std::string user = std::to_string(launchUserContext_->userIdentifier);
    job.programArguments = {toolPaths_.launchctl, "asuser", user, toolPaths_.open, applicationURL.path()};
  }
  return job;
}

std::string VeskAppBundleLaunchdRelauncher::relaunchLabel(const QuillonURL& applicationURL) const {
  const std::optional<std::string> identifier = bundleIdentifierReader_(applicationURL);
  if (!identifier || identifier->empty()) return std::string(kFallbackLabel);
  return *identifier + std::string(kLabelSuffix);
}

void VeskAppBundleLaunchdRelauncher::logFailure(const QuillonURL& applicationURL,
                                                std::string_view error) const noexcept {
  try {
    std::string line = "VeskAppBundleLaunchdRelauncher: Failed to submit the relaunch job; path=";
    line.append(applicationURL.path()).append(" error=").append(error.empty() ? "<empty>" : error);
    diagnosticLog_(line);
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): the answer false already reports the failure
  }
}

}  // namespace quillon
