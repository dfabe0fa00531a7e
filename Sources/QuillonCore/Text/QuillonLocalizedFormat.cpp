#include "QuillonCore/Text/QuillonLocalizedFormat.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>
#include <system_error>

namespace quillon {
namespace {

/// A place for an argument in a format.
struct Place {
  /// Of the text that the place takes, "%" included.
  std::size_t length = 0;
  /// Counted from 1; absent for the argument whose turn it is.
  std::optional<std::size_t> number;
};

/// The place at the start of `text`, if one begins there.
std::optional<Place> readPlace(std::string_view text) {
  if (text.starts_with("%@")) return Place{.length = 2, .number = {}};
  std::size_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data() + 1, end, number);
  if (error != std::errc{} || !std::string_view(rest, end).starts_with("$@")) return std::nullopt;
  return Place{.length = static_cast<std::size_t>(rest - text.data()) + 2, .number = number};
}

}  // namespace

std::string formattedText(std::string_view format, std::initializer_list<std::string_view> arguments) {
  std::string text;
  std::size_t next = 1;
  while (!format.empty()) {
    const std::size_t plain = std::min(format.find('%'), format.size());
    text.append(format.substr(0, plain));
    format.remove_prefix(plain);
    if (format.empty()) break;

    const std::optional<Place> place = readPlace(format);
    const std::size_t number = place ? place->number.value_or(next) : 0;
    if (number >= 1 && number <= arguments.size()) {
      text.append(arguments.begin()[number - 1]);
      if (!place->number) ++next;
      format.remove_prefix(place->length);
    } else {
      text.append("%");
      format.remove_prefix(format.starts_with("%%") ? 2 : 1);
    }
  }
  return text;
}

}  // namespace quillon
