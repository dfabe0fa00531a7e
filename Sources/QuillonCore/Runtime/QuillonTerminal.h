#pragma once

namespace quillon {

/// Whether this process writes standard error to a terminal.
[[nodiscard]] bool standardErrorIsTerminal() noexcept;

}  // namespace quillon
