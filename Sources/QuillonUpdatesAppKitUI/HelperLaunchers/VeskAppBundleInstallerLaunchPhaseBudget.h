#pragma once

#include <cstdint>
#include <mutex>
#include <optional>

#include "QuillonCore/Contracts/QuillonMonotonicTime.h"

namespace quillon {

/// How long one launch may take before and after the administrator dialog; the dialog itself has no limit.
///
/// Fails closed: a timeout of 0 gives no deadline, and without a deadline the launch does not proceed. May be used from
/// any thread.
class VeskAppBundleInstallerLaunchPhaseBudget {
 public:
  /// The time before the dialog runs from here. Timeouts in nanoseconds; a deadline past the end of the clock is the
  /// end of the clock.
  VeskAppBundleInstallerLaunchPhaseBudget(std::uint64_t preAuthorizationTimeoutNanoseconds,
                                          std::uint64_t postAuthorizationTimeoutNanoseconds,
                                          QuillonMonotonicTimeProvider monotonicTimeProvider);

  /// Whether the time before the dialog has not run out. A deadline of this very moment has not.
  [[nodiscard]] bool preAuthorizationShouldProceed() const;
  /// The time after the dialog runs from here.
  void beginPostAuthorizationPhase();
  /// Whether the time after the dialog runs and has not run out.
  [[nodiscard]] bool postAuthorizationShouldProceed() const;

 private:
  [[nodiscard]] std::optional<std::uint64_t> deadlineAfter(std::uint64_t timeoutNanoseconds) const;
  [[nodiscard]] bool isPast(const std::optional<std::uint64_t>& deadline) const;

  mutable std::mutex lock_;
  const std::uint64_t postAuthorizationTimeoutNanoseconds_;
  const QuillonMonotonicTimeProvider monotonicTimeProvider_;
  std::optional<std::uint64_t> preAuthorizationDeadline_;   // guarded by lock_
  std::optional<std::uint64_t> postAuthorizationDeadline_;  // guarded by lock_
};

}  // namespace quillon
