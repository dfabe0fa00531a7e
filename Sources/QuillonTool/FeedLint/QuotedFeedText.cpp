#include "QuillonTool/FeedLint/QuotedFeedText.h"

#include <cstddef>

namespace quillon {
namespace {

constexpr std::size_t kLongestQuote = 60;

constexpr bool isContinuationByte(char byte) noexcept {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

}  // namespace

std::string quotedFeedText(std::string_view text) {
  if (text.size() <= kLongestQuote) return std::string("\"").append(text).append("\"");
  std::size_t end = kLongestQuote;
  while (end > 0 && isContinuationByte(text[end])) --end;
  return std::string("\"").append(text.substr(0, end)).append("…\"");
}

}  // namespace quillon
