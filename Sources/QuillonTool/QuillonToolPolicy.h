#pragma once

#include "QuillonTool/QuillonToolSubcommand.h"

namespace quillon {

/// "policy": the file that tells polkit of an application's own administrator dialog.
[[nodiscard]] QuillonToolSubcommand policySubcommand();

}  // namespace quillon
