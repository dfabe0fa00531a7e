#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleProcessRightsAuthorizationClient.h"

#include <unistd.h>

namespace quillon {

VeskAppBundleProcessRightsAuthorizationClient::VeskAppBundleProcessRightsAuthorizationClient() noexcept
    : VeskAppBundleProcessRightsAuthorizationClient(geteuid()) {}

VeskAppBundleProcessRightsAuthorizationClient::VeskAppBundleProcessRightsAuthorizationClient(
    std::uint32_t effectiveUserIdentifier) noexcept
    : authorization_{.serviceManagementGrant = effectiveUserIdentifier == 0 ? VeskAppBundleRightGrant::kept
                                                                            : VeskAppBundleRightGrant::none} {}

VeskAppBundleSecurityAuthorizationClient::Creation
VeskAppBundleProcessRightsAuthorizationClient::createAuthorization() noexcept {
  return {.status = kAuthorizationSuccess, .authorizationRef = &authorization_};
}

std::int32_t VeskAppBundleProcessRightsAuthorizationClient::setRight(VeskAppBundleAuthorizationRef authorizationRef,
                                                                     std::string_view /*rightName*/,
                                                                     std::string_view /*rule*/,
                                                                     std::string_view /*description*/) noexcept {
  return authorizationRef == &authorization_ ? kAuthorizationSuccess : kAuthorizationInvalidRef;
}

std::int32_t VeskAppBundleProcessRightsAuthorizationClient::copyRight(VeskAppBundleAuthorizationRef authorizationRef,
                                                                      std::string_view /*rightName*/,
                                                                      std::uint32_t /*flags*/) noexcept {
  if (authorizationRef != &authorization_) return kAuthorizationInvalidRef;
  const bool isRoot = authorization_.serviceManagementGrant == VeskAppBundleRightGrant::kept;
  return isRoot ? kAuthorizationSuccess : kAuthorizationDenied;
}

void VeskAppBundleProcessRightsAuthorizationClient::freeAuthorization(
    VeskAppBundleAuthorizationRef /*authorizationRef*/) noexcept {}

}  // namespace quillon
