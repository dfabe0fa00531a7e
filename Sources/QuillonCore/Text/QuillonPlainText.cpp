#include "QuillonCore/Text/QuillonPlainText.h"

#include "QuillonCore/Text/Newlines.h"
#include "QuillonCore/Text/QuillonScalars.h"

namespace quillon {
namespace {

constexpr std::string_view kReplacementCharacter = "\uFFFD";

bool isControl(char32_t scalar) noexcept {
  return scalar < 0x20 || (scalar >= 0x7F && scalar <= 0x9F);
}

bool turnsDirection(char32_t scalar) noexcept {
  return (scalar >= 0x202A && scalar <= 0x202E) || (scalar >= 0x2066 && scalar <= 0x2069);
}

/// How takeFirstScalar() gives a byte of no well-formed sequence.
bool isBadByte(char32_t scalar) noexcept {
  return scalar >= 0xD800 && scalar <= 0xDFFF;
}

std::string plainText(std::string_view text, char newline) {
  std::string plain;
  plain.reserve(text.size());
  while (!text.empty()) {
    if (const std::size_t length = newlineLength(text, 0); length > 0) {
      plain.push_back(newline);
      text.remove_prefix(length);
      continue;
    }
    std::string_view rest = text;
    const char32_t scalar = takeFirstScalar(rest);
    if (scalar == U'\t') {
      plain.push_back(' ');
    } else if (isBadByte(scalar)) {
      plain.append(kReplacementCharacter);
    } else if (!isControl(scalar) && !turnsDirection(scalar)) {
      plain.append(text.substr(0, text.size() - rest.size()));
    }
    text = rest;
  }
  return plain;
}

}  // namespace

std::string singleLineText(std::string_view text) {
  return plainText(text, ' ');
}

std::string multiLineText(std::string_view text) {
  return plainText(text, '\n');
}

}  // namespace quillon
