#pragma once

#include "QuillonTool/QuillonToolSubcommand.h"

namespace quillon {

/// "feed explain": what a host makes of each entry of a feed, and which one it offers.
[[nodiscard]] QuillonToolSubcommand feedExplainSubcommand();

}  // namespace quillon
