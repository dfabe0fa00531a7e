#pragma once

#include "QuillonTool/QuillonToolSubcommand.h"

namespace quillon {

/// "feed add": writes the entry of a release into a feed.
[[nodiscard]] QuillonToolSubcommand feedAddSubcommand();

}  // namespace quillon
