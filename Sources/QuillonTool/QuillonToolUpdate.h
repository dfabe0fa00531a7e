#pragma once

#include "QuillonTool/QuillonToolSubcommand.h"

namespace quillon {

/// "update": a host without windows, which updates an installed application.
[[nodiscard]] QuillonToolSubcommand updateSubcommand();

}  // namespace quillon
