#pragma once

#include "QuillonTool/QuillonToolSubcommand.h"

namespace quillon {

/// "version compare": how one version is ordered against another.
[[nodiscard]] QuillonToolSubcommand versionCompareSubcommand();

}  // namespace quillon
