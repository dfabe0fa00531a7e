#pragma once

#include "QuillonTool/QuillonToolSubcommand.h"

namespace quillon {

/// "bundle validate": whether a bundle would be installed over a given host, judged by the installer's own rules.
[[nodiscard]] QuillonToolSubcommand bundleValidateSubcommand();

}  // namespace quillon
