#pragma once

#include "QuillonTool/QuillonToolSubcommand.h"

namespace quillon {

/// "report show": what a failed installation left for the host to read.
[[nodiscard]] QuillonToolSubcommand reportShowSubcommand();

}  // namespace quillon
