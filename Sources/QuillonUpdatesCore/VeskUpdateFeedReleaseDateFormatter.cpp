#include "QuillonUpdatesCore/VeskUpdateFeedReleaseDateFormatter.h"

#include <chrono>
#include <cstddef>

namespace quillon {
namespace {

using std::chrono::year_month_day;

/// Whether `text` has the form "0000-00-00".
bool isForm(std::string_view text) noexcept {
  if (text.size() != 10) return false;
  bool isForm = text[4] == '-' && text[7] == '-';
  for (const std::size_t i : {0U, 1U, 2U, 3U, 5U, 6U, 8U, 9U}) isForm &= text[i] >= '0' && text[i] <= '9';
  return isForm;
}

std::optional<year_month_day> dayOf(std::string_view text) noexcept {
  if (!isForm(text)) return std::nullopt;
  const auto twoDigits = [text](std::size_t i) {
    return static_cast<unsigned>(text[i] - '0') * 10 + static_cast<unsigned>(text[i + 1] - '0');
  };
  const unsigned year = twoDigits(0) * 100 + twoDigits(2);
  const year_month_day day(std::chrono::year(static_cast<int>(year)), std::chrono::month(twoDigits(5)),
                           std::chrono::day(twoDigits(8)));
  if (year == 0 || !day.ok()) return std::nullopt;
  return day;
}

}  // namespace

std::optional<QuillonDate> VeskUpdateFeedReleaseDateFormatter::date(std::string_view text) const noexcept {
  const std::optional<year_month_day> day = dayOf(text);
  return day ? calendar_.startOfDay(*day) : std::nullopt;
}

}  // namespace quillon
