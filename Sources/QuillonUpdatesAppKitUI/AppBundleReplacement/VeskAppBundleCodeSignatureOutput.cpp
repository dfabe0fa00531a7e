#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSignatureOutput.h"

#include <cstddef>

#include "QuillonCore/Text/Newlines.h"

namespace quillon {
namespace {

constexpr std::size_t kLongestOutput = 500;  // characters

/// Byte offset at which the character after the first `count` begins; the size of `text` when there are not so many.
std::size_t offsetAfterCharacters(std::string_view text, std::size_t count) {
  std::size_t offset = 0;
  while (offset < text.size()) {
    if (count == 0) return offset;
    ++offset;
    while (offset < text.size() && (static_cast<unsigned char>(text[offset]) & 0xC0U) == 0x80U) ++offset;
    --count;
  }
  return offset;
}

}  // namespace

std::string_view orEmptyMark(std::string_view value) noexcept {
  return value.empty() ? "<empty>" : value;
}

std::string printableOutput(std::string_view output) {
  std::string text = withNewlinesEscaped(trimmed(output));
  if (text.empty()) return "<empty>";
  const std::size_t end = offsetAfterCharacters(text, kLongestOutput);
  if (end < text.size()) text.replace(end, std::string::npos, "...");
  return text;
}

std::optional<std::string> teamIdentifierInOutput(std::string_view output) {
  static constexpr std::string_view kPrefix = "TeamIdentifier=";
  std::optional<std::string> team;
  for (const std::string_view line : lines(output)) {
    if (!line.starts_with(kPrefix)) continue;
    const std::string_view value = line.substr(kPrefix.size());
    if (team && *team != value) return std::nullopt;
    team = value;
  }
  return team;
}

}  // namespace quillon
