#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleSecurityAuthorizationProvider.h"

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"

namespace quillon {
namespace {

/// Rule of the authorization database: an administrator confirms with name and password.
constexpr std::string_view kAdministratorRule = "authenticate-admin";

void throwUnlessSuccess(std::int32_t status) {
  if (status == kAuthorizationSuccess) return;
  if (status == kAuthorizationCanceled) {
    throw VeskUpdateInstallerError::authorizationCancelled({.status = status, .message = {}});
  }
  throw VeskUpdateInstallerError::authorizationDenied({.status = status, .message = {}});
}

VeskAppBundleAuthorizationRef validRef(const VeskAppBundleLaunchdAuthorization& authorization) {
  if (authorization.authorizationRef() == nullptr) throwUnlessSuccess(kAuthorizationInvalidRef);
  return authorization.authorizationRef();
}

}  // namespace

std::unique_ptr<VeskAppBundleLaunchdAuthorization> VeskAppBundleSecurityAuthorizationProvider::makeAuthorization() {
  const auto creation = securityClient_->createAuthorization();
  throwUnlessSuccess(creation.status);
  return std::make_unique<VeskAppBundleLaunchdAuthorization>(
      creation.authorizationRef,
      [client = securityClient_](VeskAppBundleAuthorizationRef ref) { client->freeAuthorization(ref); });
}

void VeskAppBundleSecurityAuthorizationProvider::requestAdministratorRights(
    const VeskAppBundleLaunchdAuthorization& authorization, std::string_view customRightName,
    std::string_view serviceManagementRightName, std::string_view prompt,
    const std::function<void()>& interactionWillBegin, const std::function<void()>& interactionDidEnd) {
  constexpr std::uint32_t kFlags = kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights;
  const VeskAppBundleAuthorizationRef ref = validRef(authorization);

  // Registering asks too where the right exists already: who changes one needs "config.modify.<right>".
  interactionWillBegin();
  std::int32_t status = securityClient_->setRight(ref, customRightName, kAdministratorRule, prompt);
  if (status == kAuthorizationSuccess) status = securityClient_->copyRight(ref, customRightName, kFlags);
  if (status == kAuthorizationSuccess) status = securityClient_->copyRight(ref, serviceManagementRightName, kFlags);
  interactionDidEnd();
  throwUnlessSuccess(status);
}

void VeskAppBundleSecurityAuthorizationProvider::requestServiceManagementRightsWithoutInteraction(
    const VeskAppBundleLaunchdAuthorization& authorization, std::string_view serviceManagementRightName) {
  throwUnlessSuccess(
      securityClient_->copyRight(validRef(authorization), serviceManagementRightName, kAuthorizationFlagExtendRights));
}

}  // namespace quillon
