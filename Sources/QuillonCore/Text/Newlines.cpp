#include "QuillonCore/Text/Newlines.h"

#include <array>

namespace quillon {
namespace {

/// Bytes of the white space (newlines included) that begins at `position`, 0 for anything else.
std::size_t whiteSpaceLength(std::string_view text, std::size_t position) noexcept {
  static constexpr auto kOthers = std::to_array<std::string_view>(
      {" ", "\t", "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004", "\u2005", "\u2006", "\u2007",
       "\u2008", "\u2009", "\u200A", "\u202F", "\u205F", "\u3000"});
  if (const std::size_t length = newlineLength(text, position); length > 0) return length;
  for (const std::string_view space : kOthers) {
    if (text.substr(position).starts_with(space)) return space.size();
  }
  return 0;
}

bool isContinuation(char byte) noexcept {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

}  // namespace

std::size_t newlineLength(std::string_view text, std::size_t position) noexcept {
  const std::string_view rest = text.substr(position);
  if (rest.starts_with("\r\n")) return 2;
  if (!rest.empty() && rest.front() >= '\n' && rest.front() <= '\r') return 1;
  if (rest.starts_with("\u0085")) return 2;
  if (rest.starts_with("\u2028") || rest.starts_with("\u2029")) return 3;
  return 0;
}

std::vector<std::string_view> lines(std::string_view text) {
  std::vector<std::string_view> result;
  std::size_t start = 0;
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = newlineLength(text, i);
    if (length == 0) {
      ++i;
      continue;
    }
    result.push_back(text.substr(start, i - start));
    i += length;
    start = i;
  }
  if (start < text.size()) result.push_back(text.substr(start));
  return result;
}

std::string withNewlinesEscaped(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = newlineLength(text, i);
    if (length == 0) {
      result += text[i++];
    } else {
      result += "\\n";
      i += length;
    }
  }
  return result;
}

std::string_view trimmed(std::string_view text) noexcept {
  while (!text.empty()) {
    const std::size_t length = whiteSpaceLength(text, 0);
    if (length == 0) break;
    text.remove_prefix(length);
  }
  while (!text.empty()) {
    std::size_t last = text.size() - 1;
    while (last > 0 && isContinuation(text[last])) --last;
    if (whiteSpaceLength(text, last) == 0) break;
    text.remove_suffix(text.size() - last);
  }
  return text;
}

}  // namespace quillon
