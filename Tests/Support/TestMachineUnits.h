#pragma once

#include <string>
#include <vector>

#include "Support/TestMachine.h"

namespace quillon::testing {

/// The units whose names match a pattern of systemctl(1), those of the machine's own manager, in any state.
[[nodiscard]] std::vector<std::string> loadedUnits(const TestMachine& machine, const std::string& pattern);

/// Waits until the machine's manager has forgotten a unit, which it does when the unit's last process has ended and did
/// not fail. Throws std::runtime_error when that takes longer than half a minute.
void waitUntilUnitIsGone(const TestMachine& machine, const std::string& unit);

}  // namespace quillon::testing
