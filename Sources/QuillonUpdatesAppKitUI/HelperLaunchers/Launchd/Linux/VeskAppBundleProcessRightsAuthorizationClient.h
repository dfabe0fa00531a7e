#pragma once

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleAuthorizationOpaqueRef.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleSecurityAuthorizationClient.h"

namespace quillon {

/// Answers from the rights that this process already has: root has every right, everybody else none. Nothing is ever
/// asked for.
class VeskAppBundleProcessRightsAuthorizationClient final : public VeskAppBundleSecurityAuthorizationClient {
 public:
  /// For the effective user of this process.
  VeskAppBundleProcessRightsAuthorizationClient() noexcept;
  explicit VeskAppBundleProcessRightsAuthorizationClient(std::uint32_t effectiveUserIdentifier) noexcept;

  [[nodiscard]] Creation createAuthorization() noexcept override;
  [[nodiscard]] std::int32_t setRight(VeskAppBundleAuthorizationRef authorizationRef, std::string_view rightName,
                                      std::string_view rule, std::string_view description) noexcept override;
  [[nodiscard]] std::int32_t copyRight(VeskAppBundleAuthorizationRef authorizationRef, std::string_view rightName,
                                       std::uint32_t flags) noexcept override;
  void freeAuthorization(VeskAppBundleAuthorizationRef authorizationRef) noexcept override;

 private:
  /// The one authorization of this process: what it may do does not change.
  const VeskAppBundleAuthorizationOpaqueRef authorization_;
};

}  // namespace quillon
