#include "QuillonTool/Update/QuitAwaitingHelperLauncher.h"

#include <exception>
#include <string>
#include <utility>
#include <variant>

namespace quillon {
namespace {

using Result = VeskAppBundleReplacementLaunchResult;

Result launchFailed(std::string description) {
  return Result::launchFailed({.phase = VeskAppBundleInstallerLaunchPhase::messageResolution,
                               .errorDomain = std::nullopt,
                               .errorCode = std::nullopt,
                               .errorDescription = std::move(description)});
}

}  // namespace

QuitAwaitingHelperLauncher::QuitAwaitingHelperLauncher(std::shared_ptr<VeskAppBundleUpdateHelperLaunching> launcher,
                                                       WaitForQuit waitForQuit)
    : launcher_(std::move(launcher)), waitForQuit_(std::move(waitForQuit)) {}

Result QuitAwaitingHelperLauncher::launchReplacement(
    const VeskAppBundleReplacementRequest& request,
    const VeskAppBundleInstallerLaunchProgressHandler& progressHandler) noexcept {
  try {
    const std::vector<ApplicationProcess> stayed = waitForQuit_(request.installedApplicationURL);
    if (!stayed.empty()) {
      const std::lock_guard guard(lock_);
      processesThatStayed_ = stayed;
      return launchFailed("The application has not quit.");
    }
  } catch (const std::exception& error) {
    return launchFailed(error.what());
  }
  Result result = launcher_->launchReplacement(request, progressHandler);
  const std::lock_guard guard(lock_);
  mayHaveLaunched_ = std::holds_alternative<Result::ProtocolFailure>(result.value) ||
                     std::holds_alternative<Result::TimedOut>(result.value);
  return result;
}

bool QuitAwaitingHelperLauncher::mayHaveLaunched() const {
  const std::lock_guard guard(lock_);
  return mayHaveLaunched_;
}

std::vector<ApplicationProcess> QuitAwaitingHelperLauncher::processesThatStayed() const {
  const std::lock_guard guard(lock_);
  return processesThatStayed_;
}

}  // namespace quillon
