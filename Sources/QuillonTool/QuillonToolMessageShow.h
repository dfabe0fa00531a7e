#pragma once

#include "QuillonTool/QuillonToolSubcommand.h"

namespace quillon {

/// "message show": what a host or its launcher service makes of a message.
[[nodiscard]] QuillonToolSubcommand messageShowSubcommand();

}  // namespace quillon
