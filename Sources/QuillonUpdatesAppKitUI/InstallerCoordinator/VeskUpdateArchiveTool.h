#pragma once

#include <string>

namespace quillon {

/// Absolute path of the platform's archive tool, which understands `-x -k ARCHIVE DESTINATION`.
[[nodiscard]] std::string systemArchiveToolPath();

}  // namespace quillon
