#pragma once

#include "QuillonTool/QuillonToolSubcommand.h"

namespace quillon {

/// "bundle sign": signs a bundle with a key or ad hoc.
[[nodiscard]] QuillonToolSubcommand bundleSignSubcommand();

}  // namespace quillon
