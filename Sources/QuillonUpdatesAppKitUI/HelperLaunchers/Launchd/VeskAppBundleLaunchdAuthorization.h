#pragma once

#include <functional>

namespace quillon {

/// What the operating system's authorization services know an authorization by (`AuthorizationRef`). Never looked into.
using VeskAppBundleAuthorizationRef = const struct VeskAppBundleAuthorizationOpaqueRef*;

/// Owns an authorization of the operating system, which lives exactly as long as this object.
class VeskAppBundleLaunchdAuthorization {
 public:
  /// `authorizationRef` may be null and `freeAuthorization` empty. The function runs once, when this object goes, and
  /// must not throw.
  VeskAppBundleLaunchdAuthorization(VeskAppBundleAuthorizationRef authorizationRef,
                                    std::function<void(VeskAppBundleAuthorizationRef)> freeAuthorization)
      : authorizationRef_(authorizationRef), freeAuthorization_(std::move(freeAuthorization)) {}
  ~VeskAppBundleLaunchdAuthorization() {
    if (freeAuthorization_) freeAuthorization_(authorizationRef_);
  }
  VeskAppBundleLaunchdAuthorization(const VeskAppBundleLaunchdAuthorization&) = delete;
  VeskAppBundleLaunchdAuthorization& operator=(const VeskAppBundleLaunchdAuthorization&) = delete;

  /// Null when there is none.
  [[nodiscard]] VeskAppBundleAuthorizationRef authorizationRef() const noexcept { return authorizationRef_; }

 private:
  const VeskAppBundleAuthorizationRef authorizationRef_;
  const std::function<void(VeskAppBundleAuthorizationRef)> freeAuthorization_;
};

}  // namespace quillon
