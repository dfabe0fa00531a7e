#pragma once

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleSecurityAuthorizationClient.h"

namespace quillon {

/// The operating system's own authorization services (`<Security/Authorization.h>`). Text that is not UTF-8 is refused
/// with errAuthorizationInvalidSet.
class VeskAppBundleSystemAuthorizationClient final : public VeskAppBundleSecurityAuthorizationClient {
 public:
  [[nodiscard]] Creation createAuthorization() noexcept override;
  [[nodiscard]] std::int32_t setRight(VeskAppBundleAuthorizationRef authorizationRef, std::string_view rightName,
                                      std::string_view rule, std::string_view description) noexcept override;
  [[nodiscard]] std::int32_t copyRight(VeskAppBundleAuthorizationRef authorizationRef, std::string_view rightName,
                                       std::uint32_t flags) noexcept override;
  void freeAuthorization(VeskAppBundleAuthorizationRef authorizationRef) noexcept override;
};

}  // namespace quillon
