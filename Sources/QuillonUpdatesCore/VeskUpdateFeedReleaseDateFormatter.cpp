#include "QuillonUpdatesCore/VeskUpdateFeedReleaseDateFormatter.h"

#include <chrono>

namespace quillon {
namespace {

using std::chrono::year_month_day;

/// The number that `digits` are; absent when one of them is none.
std::optional<unsigned> numberOf(std::string_view digits) noexcept {
  unsigned number = 0;
  for (const char c : digits) {
    if (c < '0' || c > '9') return std::nullopt;
    number = number * 10 + static_cast<unsigned>(c - '0');
  }
  return number;
}

std::optional<year_month_day> dayOf(std::string_view text) noexcept {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
  const std::optional<unsigned> year = numberOf(text.substr(0, 4));
  const std::optional<unsigned> month = numberOf(text.substr(5, 2));
  const std::optional<unsigned> day = numberOf(text.substr(8, 2));
  if (!year || !month || !day || *year == 0) return std::nullopt;
  const year_month_day result(std::chrono::year(static_cast<int>(*year)), std::chrono::month(*month),
                              std::chrono::day(*day));
  if (!result.ok()) return std::nullopt;
  return result;
}

}  // namespace

std::optional<QuillonDate> VeskUpdateFeedReleaseDateFormatter::date(std::string_view text) const noexcept {
  const std::optional<year_month_day> day = dayOf(text);
  return day ? calendar_.startOfDay(*day) : std::nullopt;
}

}  // namespace quillon
