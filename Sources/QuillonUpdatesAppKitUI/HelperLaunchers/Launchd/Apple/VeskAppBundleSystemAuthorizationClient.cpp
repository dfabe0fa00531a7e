#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Apple/VeskAppBundleSystemAuthorizationClient.h"

#include <CoreFoundation/CoreFoundation.h>
#include <Security/Authorization.h>
#include <Security/AuthorizationDB.h>

#include <string>

#include "QuillonCore/Runtime/Apple/QuillonCoreFoundationReference.h"

namespace quillon {
namespace {

static_assert(kAuthorizationSuccess == errAuthorizationSuccess);
static_assert(kAuthorizationInvalidRef == errAuthorizationInvalidRef);
static_assert(kAuthorizationDenied == errAuthorizationDenied);
static_assert(kAuthorizationCanceled == errAuthorizationCanceled);
static_assert(quillon::kAuthorizationFlagInteractionAllowed == ::kAuthorizationFlagInteractionAllowed);
static_assert(kAuthorizationFlagExtendRights == ::kAuthorizationFlagExtendRights);

AuthorizationRef systemRef(VeskAppBundleAuthorizationRef authorizationRef) noexcept {
  return reinterpret_cast<AuthorizationRef>(authorizationRef);
}

QuillonCoreFoundationReference<CFStringRef> makeString(std::string_view text) noexcept {
  return QuillonCoreFoundationReference<CFStringRef>::adopt(
      CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                              static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

}  // namespace

VeskAppBundleSecurityAuthorizationClient::Creation
VeskAppBundleSystemAuthorizationClient::createAuthorization() noexcept {
  AuthorizationRef created = nullptr;
  const OSStatus status =
      AuthorizationCreate(nullptr, kAuthorizationEmptyEnvironment, kAuthorizationFlagDefaults, &created);
  if (status != errAuthorizationSuccess) return {.status = status, .authorizationRef = nullptr};
  return {.status = status, .authorizationRef = reinterpret_cast<VeskAppBundleAuthorizationRef>(created)};
}

std::int32_t VeskAppBundleSystemAuthorizationClient::setRight(VeskAppBundleAuthorizationRef authorizationRef,
                                                              std::string_view rightName, std::string_view rule,
                                                              std::string_view description) noexcept {
  const auto ruleText = makeString(rule);
  const auto descriptionText = makeString(description);
  if (!ruleText || !descriptionText) return errAuthorizationInvalidSet;
  return AuthorizationRightSet(systemRef(authorizationRef), std::string(rightName).c_str(), ruleText.get(),
                               descriptionText.get(), nullptr, nullptr);
}

std::int32_t VeskAppBundleSystemAuthorizationClient::copyRight(VeskAppBundleAuthorizationRef authorizationRef,
                                                               std::string_view rightName,
                                                               std::uint32_t flags) noexcept {
  const std::string name(rightName);
  AuthorizationItem item = {.name = name.c_str(), .valueLength = 0, .value = nullptr, .flags = 0};
  const AuthorizationRights rights = {.count = 1, .items = &item};
  return AuthorizationCopyRights(systemRef(authorizationRef), &rights, kAuthorizationEmptyEnvironment, flags, nullptr);
}

void VeskAppBundleSystemAuthorizationClient::freeAuthorization(
    VeskAppBundleAuthorizationRef authorizationRef) noexcept {
  AuthorizationFree(systemRef(authorizationRef), kAuthorizationFlagDefaults);
}

}  // namespace quillon
