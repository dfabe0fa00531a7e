#include "QuillonTool/FeedDay.h"

#include <algorithm>
#include <cstddef>

#include "QuillonCore/Text/DecimalNumber.h"

namespace quillon {
namespace {

using std::chrono::days;
using std::chrono::year_month_day;

std::string padded(const std::string& number, std::size_t width) {
  return std::string(width - std::min(width, number.size()), '0') + number;
}

}  // namespace

std::optional<year_month_day> feedDay(std::string_view text) noexcept {
  if (text.size() != 10 || text.find_first_not_of("0123456789-") != std::string_view::npos) return std::nullopt;
  if (text[4] != '-' || text[7] != '-') return std::nullopt;
  const auto year = decimalNumber<int>(text.substr(0, 4));
  const auto month = decimalNumber<unsigned>(text.substr(5, 2));
  const auto day = decimalNumber<unsigned>(text.substr(8, 2));
  if (!year || !month || !day || *year < 1) return std::nullopt;
  const year_month_day date{std::chrono::year(*year), std::chrono::month(*month), std::chrono::day(*day)};
  if (!date.ok()) return std::nullopt;
  return date;
}

std::string feedDayText(year_month_day day) {
  return padded(std::to_string(static_cast<int>(day.year())), 4) + "-" +
         padded(std::to_string(static_cast<unsigned>(day.month())), 2) + "-" +
         padded(std::to_string(static_cast<unsigned>(day.day())), 2);
}

year_month_day feedDayAt(QuillonDate date, const QuillonCalendar& calendar) noexcept {
  // No zone is more than a day away from universal time.
  auto day = std::chrono::floor<days>(date) + days(1);
  while (calendar.startOfDay(day).value_or(QuillonDate::max()) > date) day -= days(1);
  return day;
}

}  // namespace quillon
