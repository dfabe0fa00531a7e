#pragma once

#include <string_view>

namespace quillon {

/// Writes `line` to `descriptor` as far as it goes, in one piece where the system can. Somebody who stopped reading is
/// no reason for a signal, nor is a file that may not grow; what does not get through is dropped.
void writeLine(int descriptor, std::string_view line) noexcept;

}  // namespace quillon
