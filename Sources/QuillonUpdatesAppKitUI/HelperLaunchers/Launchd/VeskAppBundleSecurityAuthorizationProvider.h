#pragma once

#include <memory>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdAuthorizationProviding.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleSecurityAuthorizationClient.h"

namespace quillon {

/// Obtains rights from the operating system's authorization services. An authorization keeps the client alive.
class VeskAppBundleSecurityAuthorizationProvider final : public VeskAppBundleLaunchdAuthorizationProviding {
 public:
  explicit VeskAppBundleSecurityAuthorizationProvider(
      std::shared_ptr<VeskAppBundleSecurityAuthorizationClient> securityClient)
      : securityClient_(std::move(securityClient)) {}

  [[nodiscard]] std::unique_ptr<VeskAppBundleLaunchdAuthorization> makeAuthorization() override;
  void requestAdministratorRights(const VeskAppBundleLaunchdAuthorization& authorization,
                                  std::string_view customRightName, std::string_view serviceManagementRightName,
                                  std::string_view prompt, const std::function<void()>& interactionWillBegin,
                                  const std::function<void()>& interactionDidEnd) override;
  void requestServiceManagementRightsWithoutInteraction(const VeskAppBundleLaunchdAuthorization& authorization,
                                                        std::string_view serviceManagementRightName) override;

 private:
  const std::shared_ptr<VeskAppBundleSecurityAuthorizationClient> securityClient_;
};

}  // namespace quillon
