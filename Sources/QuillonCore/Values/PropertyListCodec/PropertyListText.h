#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Values/PropertyListCodec/PropertyListArena.h"

namespace quillon {

enum class ByteOrder { bigEndian, littleEndian };

/// Whether every byte of `text` is below 0x80.
[[nodiscard]] bool isASCII(std::string_view text) noexcept;

/// Position of the first byte of `text` that is not UTF-8 (RFC 3629); absent when all of it is.
[[nodiscard]] std::optional<std::size_t> firstByteNotUTF8(std::string_view text) noexcept;

/// Appends the UTF-8 form of `codePoint`, a Unicode scalar value.
void appendUTF8(std::string& text, char32_t codePoint);

/// Whether `codePoint` is a Unicode scalar value: in range and no surrogate.
[[nodiscard]] constexpr bool isUnicodeScalar(char32_t codePoint) noexcept {
  return codePoint < 0xD800 || (codePoint >= 0xE000 && codePoint <= 0x10FFFF);
}

/// The UTF-8 form in `arena` of `bytes`, UTF-16 code units without byte order mark; absent for an odd number of bytes
/// and for unpaired surrogates (RFC 2781).
[[nodiscard]] std::optional<std::string_view> utf8FromUTF16(std::string_view bytes, ByteOrder order,
                                                            PropertyListArena& arena);

/// Appends `text`, which is UTF-8, as UTF-16 in big-endian byte order. Returns the number of code units.
std::size_t appendUTF16BigEndian(std::string& bytes, std::string_view text);

/// The text of a text property list as UTF-8: without byte order mark, UTF-16 decoded into `arena`. Throws
/// QuillonPropertyListError for bytes that are no text, NUL characters among them.
[[nodiscard]] std::string_view decodedPropertyListText(std::string_view bytes, PropertyListArena& arena);

/// Throws a QuillonPropertyListError that says `problem` and the line of `position` in `text`.
[[noreturn]] void failAtLine(std::string_view text, const char* position, std::string_view problem);

}  // namespace quillon
