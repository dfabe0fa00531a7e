#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdHelperLauncher.h"

#include <exception>
#include <optional>
#include <utility>

#include "QuillonCore/Text/QuillonLocalizedFormat.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchFailure.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleSecurityAuthorizationClient.h"

namespace quillon {
namespace {

using Phase = VeskAppBundleInstallerLaunchPhase;
using Progress = VeskAppBundleInstallerLaunchProgress;
using Result = VeskAppBundleReplacementLaunchResult;

constexpr std::string_view kRightSuffix = ".quillon-update";
constexpr std::string_view kLabelSuffix = ".quillon-updater";
/// For a request that does not say who the host is.
constexpr std::string_view kFallbackIdentifier = "io.quillon.application";
constexpr std::string_view kFallbackName = "The app";

std::string hostName(const VeskAppBundleReplacementRequest& request, std::string_view suffix) {
  std::string_view identifier;
  if (request.hostIdentity) identifier = request.hostIdentity->bundleIdentifier;
  return std::string(identifier.empty() ? kFallbackIdentifier : identifier).append(suffix);
}

}  // namespace

/// One launch on its way. Which phase it is in is told by what fails.
class VeskAppBundleLaunchdHelperLauncher::Launch {
 public:
  Launch(const VeskAppBundleLaunchdHelperLauncher& launcher, const VeskAppBundleReplacementRequest& request,
         const VeskAppBundleInstallerLaunchProgressHandler& progressHandler)
      : launcher_(launcher), request_(request), progressHandler_(progressHandler) {}

  [[nodiscard]] Phase phase() const noexcept { return phase_; }

  [[nodiscard]] Result run() {
    if (!request_.helperExecutableURL) return Result::helperUnavailable();
    const bool needsAuthorization = askWhetherAuthorizationIsNeeded();
    if (needsAuthorization && !request_.shouldRequestAuthorizationIfNeeded) {
      return Result::authorizationDenied(kAuthorizationDenied);
    }

    if (!launcher_.preAuthorizationShouldProceed_()) return Result::timedOut(Phase::preAuthorization);
    phase_ = Phase::authorization;
    const auto authorization = launcher_.authorizationProvider_->makeAuthorization();
    if (!launcher_.preAuthorizationShouldProceed_()) return Result::timedOut(Phase::preAuthorization);
    if (needsAuthorization) {
      requestRights(*authorization);
    } else {
      launcher_.beginPostAuthorizationPhase_();
    }

    phase_ = Phase::postAuthorization;
    if (!launcher_.postAuthorizationShouldProceed_()) return Result::timedOut(Phase::postAuthorization);
    submit(*authorization);
    report(Progress::jobSubmitted());
    return Result::launched();
  }

 private:
  bool askWhetherAuthorizationIsNeeded() {
    const QuillonURL& installed = request_.installedApplicationURL;
    const bool isWritable = launcher_.permissionChecker_->destinationParentIsWritable(installed);
    const bool keepsOwner = launcher_.ownershipMatcher_->processCanMatchInstalledOwnership(installed);
    if (isWritable && keepsOwner) return false;
    report(Progress::authorizationRequired(
        {.destinationParentIsWritable = isWritable, .canPreserveInstalledOwnership = keepsOwner}));
    return true;
  }

  void requestRights(const VeskAppBundleLaunchdAuthorization& authorization) {
    launcher_.authorizationProvider_->requestAdministratorRights(
        authorization, authorizationRightName(request_), kServiceManagementRightName,
        launcher_.authorizationPrompt(request_), [this] { interactionWillBegin(); }, [this] { interactionDidEnd(); });
  }

  void interactionWillBegin() {
    if (!launcher_.preAuthorizationShouldProceed_()) {
      throw VeskUpdateInstallerError::replacementHelperLaunchTimedOut(Phase::preAuthorization);
    }
    interactionStart_ = launcher_.monotonicTimeProvider_();
    report(Progress::authorizationBegan());
  }

  void interactionDidEnd() {
    const std::uint64_t now = launcher_.monotonicTimeProvider_();
    const bool isMeasured = interactionStart_ && now >= *interactionStart_;
    report(Progress::authorizationEnded(isMeasured ? now - *interactionStart_ : 0));
    launcher_.beginPostAuthorizationPhase_();
  }

  void submit(const VeskAppBundleLaunchdAuthorization& authorization) {
    const VeskAppBundleLaunchdJob job = makeJob();
    phase_ = Phase::jobSubmission;
    launcher_.jobSubmitter_->submit(job, authorization, launcher_.postAuthorizationShouldProceed_);
  }

  [[nodiscard]] VeskAppBundleLaunchdJob makeJob() const {
    VeskAppBundleLaunchdJob job{.label = launchdLabel(request_),
                                .domain = VeskAppBundleLaunchdJobDomain::system,
                                .programArguments = {request_.helperExecutableURL->path()}};
    const VeskAppBundleLaunchdUserContext user =
        request_.launchUserContext ? *request_.launchUserContext : launcher_.launchUserContextProvider_();
    for (std::string& argument : request_.helperArguments(launcher_.processIdentifierProvider_(), user)) {
      job.programArguments.push_back(std::move(argument));
    }
    return job;
  }

  void report(const Progress& progress) const noexcept {
    try {
      if (progressHandler_) progressHandler_(progress);
    } catch (...) {  // NOLINT(bugprone-empty-catch): what is only told must not end, or undo, what is done
    }
  }

  const VeskAppBundleLaunchdHelperLauncher& launcher_;
  const VeskAppBundleReplacementRequest& request_;
  const VeskAppBundleInstallerLaunchProgressHandler& progressHandler_;
  Phase phase_ = Phase::preAuthorization;
  std::optional<std::uint64_t> interactionStart_;
};

VeskAppBundleLaunchdHelperLauncher::VeskAppBundleLaunchdHelperLauncher(
    std::shared_ptr<const VeskAppBundleReplacementPermissionChecking> permissionChecker,
    std::shared_ptr<const VeskAppBundleReplacementOwnershipMatching> ownershipMatcher,
    std::shared_ptr<VeskAppBundleLaunchdAuthorizationProviding> authorizationProvider,
    std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> jobSubmitter,
    ProcessIdentifierProvider processIdentifierProvider, UserContextProvider launchUserContextProvider,
    std::function<bool()> preAuthorizationShouldProceed, std::function<void()> beginPostAuthorizationPhase,
    std::function<bool()> postAuthorizationShouldProceed, QuillonMonotonicTimeProvider monotonicTimeProvider,
    TextProvider localizedText)
    : permissionChecker_(std::move(permissionChecker)),
      ownershipMatcher_(std::move(ownershipMatcher)),
      authorizationProvider_(std::move(authorizationProvider)),
      jobSubmitter_(std::move(jobSubmitter)),
      processIdentifierProvider_(std::move(processIdentifierProvider)),
      launchUserContextProvider_(std::move(launchUserContextProvider)),
      preAuthorizationShouldProceed_(std::move(preAuthorizationShouldProceed)),
      beginPostAuthorizationPhase_(std::move(beginPostAuthorizationPhase)),
      postAuthorizationShouldProceed_(std::move(postAuthorizationShouldProceed)),
      monotonicTimeProvider_(std::move(monotonicTimeProvider)),
      localizedText_(std::move(localizedText)) {}

VeskAppBundleReplacementLaunchResult VeskAppBundleLaunchdHelperLauncher::launchReplacement(
    const VeskAppBundleReplacementRequest& request,
    const VeskAppBundleInstallerLaunchProgressHandler& progressHandler) noexcept {
  Launch launch(*this, request, progressHandler);
  try {
    return launch.run();
  } catch (...) {
    return launchFailureResult(std::current_exception(), launch.phase());
  }
}

std::string VeskAppBundleLaunchdHelperLauncher::authorizationRightName(const VeskAppBundleReplacementRequest& request) {
  return hostName(request, kRightSuffix);
}

std::string VeskAppBundleLaunchdHelperLauncher::launchdLabel(const VeskAppBundleReplacementRequest& request) {
  return hostName(request, kLabelSuffix);
}

std::string VeskAppBundleLaunchdHelperLauncher::authorizationPrompt(
    const VeskAppBundleReplacementRequest& request) const {
  return authorizationPrompt(request, localizedText_(request.installedApplicationURL, kPromptFormat));
}

std::string VeskAppBundleLaunchdHelperLauncher::authorizationPrompt(const VeskAppBundleReplacementRequest& request,
                                                                    std::string_view format) {
  const std::string_view name = request.installedApplicationURL.nameWithoutExtension();
  return formattedText(format, {name.empty() ? kFallbackName : name});
}

std::string VeskAppBundleLaunchdHelperLauncher::englishText(const QuillonURL& /*applicationURL*/,
                                                            std::string_view key) {
  return std::string(key);
}

}  // namespace quillon
