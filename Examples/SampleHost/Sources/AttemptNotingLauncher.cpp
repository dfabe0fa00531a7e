#include "AttemptNotingLauncher.h"

#include <utility>
#include <variant>

namespace sample {
namespace {

using Result = quillon::VeskAppBundleReplacementLaunchResult;

bool mayHaveBeenLaunched(const Result& result) {
  return std::holds_alternative<Result::Launched>(result.value) ||
         std::holds_alternative<Result::ProtocolFailure>(result.value) ||
         std::holds_alternative<Result::TimedOut>(result.value);
}

}  // namespace

AttemptNotingLauncher::AttemptNotingLauncher(std::shared_ptr<quillon::VeskAppBundleUpdateHelperLaunching> launcher,
                                             std::shared_ptr<quillon::VeskUpdateMemory> memory,
                                             quillon::VeskUpdateAttempt attempt)
    : launcher_(std::move(launcher)), memory_(std::move(memory)), attempt_(std::move(attempt)) {}

Result AttemptNotingLauncher::launchReplacement(
    const quillon::VeskAppBundleReplacementRequest& request,
    const quillon::VeskAppBundleInstallerLaunchProgressHandler& progressHandler) noexcept {
  memory_->setAttempt(attempt_);
  Result result = launcher_->launchReplacement(request, progressHandler);
  if (!mayHaveBeenLaunched(result)) memory_->setAttempt(std::nullopt);
  return result;
}

}  // namespace sample
