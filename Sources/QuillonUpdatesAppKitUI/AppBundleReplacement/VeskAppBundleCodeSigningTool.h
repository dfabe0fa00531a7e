#pragma once

#include <string>

namespace quillon {

/// Absolute path of the platform's code-signing tool.
[[nodiscard]] std::string systemCodeSigningToolPath();

}  // namespace quillon
