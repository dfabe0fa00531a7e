#pragma once

#include <atomic>
#include <cstdint>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdAuthorization.h"

namespace quillon {

/// How far a right was granted.
enum class VeskAppBundleRightGrant : std::uint8_t {
  none,
  once,  ///< by a dialog whose answer is not kept: whoever checks the right again has to ask again
  kept,  ///< whoever checks the right finds it granted without asking
};

/// What an authorization is on this platform. Its client writes it, job submitters read it.
struct VeskAppBundleAuthorizationOpaqueRef {
  /// Of the right to submit jobs to the system domain.
  std::atomic<VeskAppBundleRightGrant> serviceManagementGrant = VeskAppBundleRightGrant::none;
};

/// How far the right to submit jobs to the system domain was granted under `authorization`. None without reference.
[[nodiscard]] inline VeskAppBundleRightGrant serviceManagementGrant(
    const VeskAppBundleLaunchdAuthorization& authorization) noexcept {
  const VeskAppBundleAuthorizationRef ref = authorization.authorizationRef();
  return ref == nullptr ? VeskAppBundleRightGrant::none : ref->serviceManagementGrant.load();
}

}  // namespace quillon
