#pragma once

namespace quillon {

/// Whether this process writes standard error to a terminal.
[[nodiscard]] bool standardErrorIsTerminal() noexcept;
/// Whether this process reads standard input from a terminal.
[[nodiscard]] bool standardInputIsTerminal() noexcept;

}  // namespace quillon
