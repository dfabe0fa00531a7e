#include "ZipArchive/ZipArchiveError.h"

#include <array>
#include <cstddef>
#include <cstdio>

#include "QuillonCore/Text/QuillonScalars.h"

namespace quillon {
namespace {

constexpr std::size_t kLongestQuotation = 240;

/// Whether the scalar could not be shown, or could mislead whoever reads a terminal: controls, and what stands for
/// bytes that are no UTF-8.
bool isUnprintable(char32_t scalar) noexcept {
  const bool isControl = scalar < 0x20 || (scalar >= 0x7F && scalar < 0xA0);
  const bool changesDirection = (scalar >= 0x200E && scalar <= 0x200F) || (scalar >= 0x202A && scalar <= 0x202E) ||
                                (scalar >= 0x2066 && scalar <= 0x2069);
  return isControl || changesDirection || (scalar >= 0xD800 && scalar < 0xE000);
}

void appendEscaped(std::string& text, std::string_view bytes) {
  for (const char byte : bytes) {
    std::array<char, 5> escaped{};
    std::snprintf(escaped.data(), escaped.size(), "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    text += escaped.data();
  }
}

}  // namespace

std::string quotedArchiveName(std::string_view name) {
  std::string text = "\"";
  while (!name.empty()) {
    if (text.size() > kLongestQuotation) {
      text += "…";
      break;
    }
    std::string_view rest = name;
    const char32_t scalar = takeFirstScalar(rest);
    const std::string_view bytes = name.substr(0, name.size() - rest.size());
    if (isUnprintable(scalar)) {
      appendEscaped(text, bytes);
    } else {
      text += bytes;
    }
    name = rest;
  }
  return text + "\"";
}

ZipArchiveError ZipArchiveError::damaged(std::string_view reason) {
  return ZipArchiveError("The archive is damaged: " + std::string(reason) + ".");
}

ZipArchiveError ZipArchiveError::entry(std::string_view name, std::string_view reason) {
  return ZipArchiveError("The entry " + quotedArchiveName(name) + " " + std::string(reason) + ".");
}

}  // namespace quillon
