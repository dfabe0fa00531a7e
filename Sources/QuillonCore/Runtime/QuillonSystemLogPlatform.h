#pragma once

namespace quillon {

/// Gives one line to the system's log, as it is. Defined once in each platform's folder. From any thread.
void writeSystemLogLine(const char* line) noexcept;

}  // namespace quillon
