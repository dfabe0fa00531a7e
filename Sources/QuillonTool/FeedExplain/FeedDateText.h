#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonCalendar.h"
#include "QuillonCore/Values/QuillonDate.h"

namespace quillon {

/// The moment that `text` names in a form of ISO 8601: "2024-06-10T12:00:00Z", the same with an offset such as "+02:00"
/// in the place of the "Z", or "2024-06-10", the first moment of that day of `calendar`. Absent for everything else.
[[nodiscard]] std::optional<QuillonDate> feedDate(std::string_view text, const QuillonCalendar& calendar);

/// `date` in the first of those forms, fractions of a second cut off; years that four digits do not hold become the
/// nearest that they do.
[[nodiscard]] std::string feedDateText(QuillonDate date);

}  // namespace quillon
