#pragma once

#include <memory>

#include "QuillonCore/Contracts/QuillonCalendar.h"

namespace quillon {

/// The calendar of the time zone that this process is set to. The C library holds one zone for all of a process: each
/// call of this function reads the setting again, for calendars made before as well.
[[nodiscard]] std::shared_ptr<const QuillonCalendar> makeSystemCalendar();

}  // namespace quillon
