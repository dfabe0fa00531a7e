#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdAuthorization.h"

namespace quillon {

/// The right to submit jobs to the system domain.
inline constexpr std::string_view kServiceManagementRightName = "com.apple.ServiceManagement.daemons.modify";

/// Obtains the rights that submitting a job takes.
///
/// Every operation throws VeskUpdateInstallerError::authorizationCancelled when the user cancelled, and
/// authorizationDenied for every other refusal, both with the operating system's status.
class VeskAppBundleLaunchdAuthorizationProviding {
 public:
  virtual ~VeskAppBundleLaunchdAuthorizationProviding() = default;

  /// An authorization without any right yet.
  [[nodiscard]] virtual std::unique_ptr<VeskAppBundleLaunchdAuthorization> makeAuthorization() = 0;

  /// Obtains both rights, with the system's dialog, which shows `prompt`, when that is needed.
  ///
  /// `interactionWillBegin` runs right before the first request that can show the dialog; what it throws ends the
  /// request and is passed on. `interactionDidEnd` runs once after the last, whatever came of it, and must not throw.
  /// Both run on the thread that waits for the dialog.
  virtual void requestAdministratorRights(const VeskAppBundleLaunchdAuthorization& authorization,
                                          std::string_view customRightName, std::string_view serviceManagementRightName,
                                          std::string_view prompt, const std::function<void()>& interactionWillBegin,
                                          const std::function<void()>& interactionDidEnd) = 0;

  /// Obtains the right if that takes no dialog.
  virtual void requestServiceManagementRightsWithoutInteraction(const VeskAppBundleLaunchdAuthorization& authorization,
                                                                std::string_view serviceManagementRightName) = 0;
};

}  // namespace quillon
