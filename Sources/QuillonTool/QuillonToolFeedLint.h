#pragma once

#include "QuillonTool/QuillonToolSubcommand.h"

namespace quillon {

/// "feed lint": what in a feed will not do what its publisher expects.
[[nodiscard]] QuillonToolSubcommand feedLintSubcommand();

}  // namespace quillon
