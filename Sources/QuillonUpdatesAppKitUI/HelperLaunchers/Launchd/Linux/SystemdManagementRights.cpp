#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdManagementRights.h"

#include <exception>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/PolkitAuthorityConnection.h"

namespace quillon {

bool mayManageUnitsWithoutDialog(const std::string& systemBusAddress, std::chrono::milliseconds timeLimit,
                                 std::uint32_t effectiveUserIdentifier) noexcept {
  if (effectiveUserIdentifier == 0) return true;
  try {
    const PolkitAuthorityConnection polkit(systemBusAddress, timeLimit);
    return polkit.checkAuthorization(kManageUnitsAction, PolkitAuthorityConnection::Interaction::forbidden)
        .isAuthorized;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace quillon
