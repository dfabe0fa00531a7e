#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleProcessRightsAuthorizationClient.h"

#include <unistd.h>

namespace quillon {

VeskAppBundleProcessRightsAuthorizationClient::VeskAppBundleProcessRightsAuthorizationClient() noexcept
    : VeskAppBundleProcessRightsAuthorizationClient(geteuid()) {}

VeskAppBundleSecurityAuthorizationClient::Creation
VeskAppBundleProcessRightsAuthorizationClient::createAuthorization() noexcept {
  // A reference is only ever handed back, so the client's own address serves as one.
  return {.status = kAuthorizationSuccess, .authorizationRef = reinterpret_cast<VeskAppBundleAuthorizationRef>(this)};
}

std::int32_t VeskAppBundleProcessRightsAuthorizationClient::setRight(VeskAppBundleAuthorizationRef authorizationRef,
                                                                     std::string_view /*rightName*/,
                                                                     std::string_view /*rule*/,
                                                                     std::string_view /*description*/) noexcept {
  return status(authorizationRef);
}

std::int32_t VeskAppBundleProcessRightsAuthorizationClient::copyRight(VeskAppBundleAuthorizationRef authorizationRef,
                                                                      std::string_view /*rightName*/,
                                                                      std::uint32_t /*flags*/) noexcept {
  return status(authorizationRef);
}

void VeskAppBundleProcessRightsAuthorizationClient::freeAuthorization(
    VeskAppBundleAuthorizationRef /*authorizationRef*/) noexcept {}

std::int32_t VeskAppBundleProcessRightsAuthorizationClient::status(
    VeskAppBundleAuthorizationRef authorizationRef) const noexcept {
  if (authorizationRef != reinterpret_cast<VeskAppBundleAuthorizationRef>(this)) return kAuthorizationInvalidRef;
  return effectiveUserIdentifier_ == 0 ? kAuthorizationSuccess : kAuthorizationDenied;
}

}  // namespace quillon
