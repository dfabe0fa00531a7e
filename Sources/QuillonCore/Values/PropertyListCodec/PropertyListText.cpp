#include "QuillonCore/Values/PropertyListCodec/PropertyListText.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstring>

#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

constexpr std::uint64_t kHighBits = 0x8080808080808080;

std::uint64_t word(const char* bytes) noexcept {
  std::uint64_t value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

char32_t codeUnit(const char* bytes, ByteOrder order) noexcept {
  const auto first = static_cast<unsigned char>(bytes[0]);
  const auto second = static_cast<unsigned char>(bytes[1]);
  const int unit = order == ByteOrder::bigEndian ? first << 8 | second : second << 8 | first;
  return static_cast<char32_t>(unit);
}

constexpr bool isHighSurrogate(char32_t unit) noexcept {
  return unit >= 0xD800 && unit < 0xDC00;
}
constexpr bool isLowSurrogate(char32_t unit) noexcept {
  return unit >= 0xDC00 && unit < 0xE000;
}

/// Writes the UTF-8 form of `codePoint`, at most four bytes, and returns the end.
char* encodeUTF8(char32_t codePoint, char* out) noexcept {
  return out + utf8proc_encode_char(static_cast<utf8proc_int32_t>(codePoint), reinterpret_cast<utf8proc_uint8_t*>(out));
}

void appendUnit(std::string& bytes, char32_t unit) {
  bytes += static_cast<char>(unit >> 8);
  bytes += static_cast<char>(unit & 0xFF);
}

}  // namespace

bool isASCII(std::string_view text) noexcept {
  const char* bytes = text.data();
  const std::size_t size = text.size();
  if (size < 8) return std::none_of(text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; });
  std::uint64_t seen = 0;
  for (std::size_t i = 0; i + 8 <= size; i += 8) seen |= word(bytes + i);
  seen |= word(bytes + size - 8);
  return (seen & kHighBits) == 0;
}

std::optional<std::size_t> firstByteNotUTF8(std::string_view text) noexcept {
  std::size_t i = 0;
  while (i < text.size()) {
    while (i + 32 <= text.size()) {
      const char* bytes = text.data() + i;
      if (((word(bytes) | word(bytes + 8) | word(bytes + 16) | word(bytes + 24)) & kHighBits) != 0) break;
      i += 32;
    }
    // A block at a time beyond the check above, so that text with few ASCII bytes does not repeat it for each
    // character.
    const std::size_t blockEnd = std::min(i + 32, text.size());
    while (i < blockEnd) {
      if ((text[i] & 0x80) == 0) {
        ++i;
        continue;
      }
      utf8proc_int32_t codePoint = 0;
      const utf8proc_ssize_t length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data() + i),
                                                       static_cast<utf8proc_ssize_t>(text.size() - i), &codePoint);
      if (length <= 0) return i;
      i += static_cast<std::size_t>(length);
    }
  }
  return std::nullopt;
}

void appendUTF8(std::string& text, char32_t codePoint) {
  char encoded[4];
  text.append(encoded, encodeUTF8(codePoint, encoded));
}

std::optional<std::string_view> utf8FromUTF16(std::string_view bytes, ByteOrder order, PropertyListArena& arena) {
  if (bytes.size() % 2 != 0) return std::nullopt;
  // A unit of two bytes becomes at most three; the four of a pair come from four.
  char* const begin = arena.allocate<char>(bytes.size() / 2 * 3);
  char* out = begin;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    char32_t codePoint = codeUnit(bytes.data() + i, order);
    if (isLowSurrogate(codePoint)) return std::nullopt;
    if (isHighSurrogate(codePoint)) {
      i += 2;
      if (i >= bytes.size()) return std::nullopt;
      const char32_t low = codeUnit(bytes.data() + i, order);
      if (!isLowSurrogate(low)) return std::nullopt;
      codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (low - 0xDC00);
    }
    out = encodeUTF8(codePoint, out);
  }
  return std::string_view(begin, static_cast<std::size_t>(out - begin));
}

std::size_t appendUTF16BigEndian(std::string& bytes, std::string_view text) {
  const std::size_t before = bytes.size();
  for (std::size_t i = 0; i < text.size();) {
    utf8proc_int32_t decoded = 0;
    i += static_cast<std::size_t>(utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data() + i),
                                                   static_cast<utf8proc_ssize_t>(text.size() - i), &decoded));
    const auto codePoint = static_cast<char32_t>(decoded);
    if (codePoint < 0x10000) {
      appendUnit(bytes, codePoint);
    } else {
      appendUnit(bytes, 0xD800 + ((codePoint - 0x10000) >> 10));
      appendUnit(bytes, 0xDC00 + ((codePoint - 0x10000) & 0x3FF));
    }
  }
  return (bytes.size() - before) / 2;
}

std::string_view decodedPropertyListText(std::string_view bytes, PropertyListArena& arena) {
  std::string_view text = bytes;
  const bool isBigEndian = bytes.starts_with("\xFE\xFF");
  if (isBigEndian || bytes.starts_with("\xFF\xFE")) {
    const auto decoded =
        utf8FromUTF16(bytes.substr(2), isBigEndian ? ByteOrder::bigEndian : ByteOrder::littleEndian, arena);
    if (!decoded) throw QuillonPropertyListError("Not a property list: the text is not UTF-16");
    text = *decoded;
  } else {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    if (const auto position = firstByteNotUTF8(text)) {
      failAtLine(text, text.data() + *position, "the text is not UTF-8");
    }
  }
  const std::size_t nul = text.find('\0');
  if (nul != std::string_view::npos) failAtLine(text, text.data() + nul, "the text holds a NUL character");
  return text;
}

void failAtLine(std::string_view text, const char* position, std::string_view problem) {
  const auto line = 1 + std::count(text.data(), position, '\n');
  throw QuillonPropertyListError("Not a property list: " + std::string(problem) + " at line " + std::to_string(line));
}

}  // namespace quillon
