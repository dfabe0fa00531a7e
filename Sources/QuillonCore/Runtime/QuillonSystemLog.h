#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace quillon {

/// Takes one line of diagnostic text. May be called from any thread.
using QuillonDiagnosticLog = std::function<void(std::string_view line)>;

/// Writes a line to the system's log. Control characters are replaced, so that one line stays one line.
void writeToSystemLog(std::string_view line) noexcept;

/// `line`, whole, as logText() leaves it: what ends or turns around lines or steers a terminal is written as "\x1b" or
/// "\u202e".
[[nodiscard]] std::string withControlCharactersEscaped(std::string_view line);

}  // namespace quillon
