#include "QuillonTool/FeedExplain/FeedDateText.h"

#include <algorithm>
#include <chrono>
#include <cstddef>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Values/PropertyListCodec/PropertyListScalars.h"
#include "QuillonUpdatesCore/VeskUpdateFeedReleaseDateFormatter.h"

namespace quillon {
namespace {

using std::chrono::minutes;

constexpr std::size_t kOffsetLength = 6;  // "+02:00"
constexpr std::size_t kTimeLength = 19;   // "2024-06-10T12:00:00"

/// Two digits of an offset, up to `largest`.
std::optional<int> offsetNumber(std::string_view digits, int largest) {
  if (digits.front() == '+' || digits.front() == '-') return std::nullopt;
  const std::optional<int> number = decimalNumber<int>(digits);
  return number && *number <= largest ? number : std::nullopt;
}

/// How far a time of the zone `text`, "+02:00", is ahead of universal time.
std::optional<minutes> offsetOf(std::string_view text) {
  if (text.size() != kOffsetLength || text[3] != ':' || (text[0] != '+' && text[0] != '-')) return std::nullopt;
  const std::optional<int> hours = offsetNumber(text.substr(1, 2), 23);
  const std::optional<int> rest = offsetNumber(text.substr(4, 2), 59);
  if (!hours || !rest) return std::nullopt;
  const minutes offset(*hours * 60 + *rest);
  return text[0] == '-' ? -offset : offset;
}

std::optional<QuillonDate> universalTime(std::string_view text) {
  // The reader of property lists allows blanks around a date.
  if (text.size() != kTimeLength + 1) return std::nullopt;
  return parsePropertyListDate(text).value;
}

}  // namespace

std::optional<QuillonDate> feedDate(std::string_view text, const QuillonCalendar& calendar) {
  if (text.ends_with('Z')) return universalTime(text);
  if (text.size() != kTimeLength + kOffsetLength) return VeskUpdateFeedReleaseDateFormatter(calendar).date(text);
  const std::optional<QuillonDate> local = universalTime(std::string(text.substr(0, kTimeLength)) + "Z");
  const std::optional<minutes> offset = offsetOf(text.substr(kTimeLength));
  if (!local || !offset) return std::nullopt;
  return *local - *offset;
}

std::string feedDateText(QuillonDate date) {
  using std::chrono::sys_days;
  using std::chrono::year;
  static constexpr QuillonDate kFirst = sys_days{year{0} / std::chrono::January / 1};
  static constexpr QuillonDate kLast = sys_days{year{10000} / std::chrono::January / 1} - std::chrono::seconds(1);
  return propertyListDateText(std::clamp(date, kFirst, kLast));
}

}  // namespace quillon
