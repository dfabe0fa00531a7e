#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonCalendar.h"
#include "QuillonCore/Values/QuillonDate.h"

// Days in the form in which feeds write them: "yyyy-MM-dd".

namespace quillon {

/// The day that `text` is, of the years 1 to 9999; absent for every other text.
[[nodiscard]] std::optional<std::chrono::year_month_day> feedDay(std::string_view text) noexcept;

/// `day`, of the years 0 to 9999, as feeds write it.
[[nodiscard]] std::string feedDayText(std::chrono::year_month_day day);

/// The day of `calendar` to which `date` belongs.
[[nodiscard]] std::chrono::year_month_day feedDayAt(QuillonDate date, const QuillonCalendar& calendar) noexcept;

}  // namespace quillon
