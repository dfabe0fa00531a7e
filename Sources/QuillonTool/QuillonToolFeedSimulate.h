#pragma once

#include "QuillonTool/QuillonToolSubcommand.h"

namespace quillon {

/// "feed simulate": who is offered what by a feed, on which day, and what that costs in downloads.
[[nodiscard]] QuillonToolSubcommand feedSimulateSubcommand();

}  // namespace quillon
