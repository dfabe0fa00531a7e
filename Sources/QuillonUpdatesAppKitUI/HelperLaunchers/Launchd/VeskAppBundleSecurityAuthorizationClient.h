#pragma once

#include <cstdint>
#include <string_view>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdAuthorization.h"

namespace quillon {

/// Statuses of the authorization services (`<Security/Authorization.h>`).
inline constexpr std::int32_t kAuthorizationSuccess = 0;
inline constexpr std::int32_t kAuthorizationInvalidRef = -60002;
inline constexpr std::int32_t kAuthorizationDenied = -60005;
inline constexpr std::int32_t kAuthorizationCanceled = -60006;

/// Flags of `AuthorizationCopyRights` (`<Security/Authorization.h>`).
inline constexpr std::uint32_t kAuthorizationFlagInteractionAllowed = 1;
inline constexpr std::uint32_t kAuthorizationFlagExtendRights = 2;

/// The calls of the operating system's authorization services, each with its status. They may wait for a dialog, and
/// may be made on any thread, but none about an authorization while it is freed.
///
/// A client may deny an authorization what another one, which has not been freed, asks for or was granted.
class VeskAppBundleSecurityAuthorizationClient {
 public:
  struct Creation {
    std::int32_t status = kAuthorizationSuccess;
    /// Null unless `status` is success.
    VeskAppBundleAuthorizationRef authorizationRef = nullptr;
  };

  virtual ~VeskAppBundleSecurityAuthorizationClient() = default;

  /// `AuthorizationCreate` with no rights, no environment and default flags.
  [[nodiscard]] virtual Creation createAuthorization() noexcept = 0;
  /// `AuthorizationRightSet`: what obtaining `rightName` takes (`rule`), and the text its dialog shows. May wait for a
  /// dialog of its own.
  [[nodiscard]] virtual std::int32_t setRight(VeskAppBundleAuthorizationRef authorizationRef,
                                              std::string_view rightName, std::string_view rule,
                                              std::string_view description) noexcept = 0;
  /// `AuthorizationCopyRights` for one right, without environment.
  [[nodiscard]] virtual std::int32_t copyRight(VeskAppBundleAuthorizationRef authorizationRef,
                                               std::string_view rightName, std::uint32_t flags) noexcept = 0;
  /// `AuthorizationFree` with default flags.
  virtual void freeAuthorization(VeskAppBundleAuthorizationRef authorizationRef) noexcept = 0;
};

}  // namespace quillon
