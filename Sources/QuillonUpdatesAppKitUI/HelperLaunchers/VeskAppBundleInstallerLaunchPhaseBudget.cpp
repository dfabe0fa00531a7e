#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleInstallerLaunchPhaseBudget.h"

#include <limits>
#include <utility>

namespace quillon {

VeskAppBundleInstallerLaunchPhaseBudget::VeskAppBundleInstallerLaunchPhaseBudget(
    std::uint64_t preAuthorizationTimeoutNanoseconds, std::uint64_t postAuthorizationTimeoutNanoseconds,
    QuillonMonotonicTimeProvider monotonicTimeProvider)
    : postAuthorizationTimeoutNanoseconds_(postAuthorizationTimeoutNanoseconds),
      monotonicTimeProvider_(std::move(monotonicTimeProvider)),
      preAuthorizationDeadline_(deadlineAfter(preAuthorizationTimeoutNanoseconds)) {}

bool VeskAppBundleInstallerLaunchPhaseBudget::preAuthorizationShouldProceed() const {
  const std::lock_guard guard(lock_);
  return !isPast(preAuthorizationDeadline_);
}

void VeskAppBundleInstallerLaunchPhaseBudget::beginPostAuthorizationPhase() {
  const std::lock_guard guard(lock_);
  postAuthorizationDeadline_ = deadlineAfter(postAuthorizationTimeoutNanoseconds_);
}

bool VeskAppBundleInstallerLaunchPhaseBudget::postAuthorizationShouldProceed() const {
  const std::lock_guard guard(lock_);
  return !isPast(postAuthorizationDeadline_);
}

std::optional<std::uint64_t> VeskAppBundleInstallerLaunchPhaseBudget::deadlineAfter(
    std::uint64_t timeoutNanoseconds) const {
  if (timeoutNanoseconds == 0) return std::nullopt;
  constexpr std::uint64_t kEnd = std::numeric_limits<std::uint64_t>::max();
  const std::uint64_t now = monotonicTimeProvider_();
  return now > kEnd - timeoutNanoseconds ? kEnd : now + timeoutNanoseconds;
}

bool VeskAppBundleInstallerLaunchPhaseBudget::isPast(const std::optional<std::uint64_t>& deadline) const {
  return !deadline || *deadline < monotonicTimeProvider_();
}

}  // namespace quillon
