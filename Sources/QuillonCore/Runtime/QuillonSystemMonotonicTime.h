#pragma once

#include "QuillonCore/Contracts/QuillonMonotonicTime.h"

namespace quillon {

/// The machine's monotonic clock.
[[nodiscard]] QuillonMonotonicTimeProvider makeSystemMonotonicTimeProvider();

}  // namespace quillon
