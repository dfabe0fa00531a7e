#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace quillon {

/// polkit's action that systemd checks before it changes a unit for somebody.
inline constexpr const char* kManageUnitsAction = "org.freedesktop.systemd1.manage-units";

/// Whether the system's manager would change units for this process without asking anybody: for root, and where polkit
/// says so. Never shows a dialog itself. False when polkit cannot be asked.
[[nodiscard]] bool mayManageUnitsWithoutDialog(const std::string& systemBusAddress, std::chrono::milliseconds timeLimit,
                                               std::uint32_t effectiveUserIdentifier) noexcept;

}  // namespace quillon
