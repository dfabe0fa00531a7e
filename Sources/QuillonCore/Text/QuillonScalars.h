#pragma once

#include <string>
#include <string_view>

namespace quillon {

/// The Unicode scalars of `text` (UTF-8, RFC 3629). A byte that is part of no well-formed sequence becomes 0xDC00 plus
/// the byte: a surrogate, which no well-formed text yields, so that different bad bytes stay different.
[[nodiscard]] std::u32string decodeScalars(std::string_view text);

/// Removes the first scalar from `text`, which must not be empty, and returns it; a bad byte as decodeScalars says.
[[nodiscard]] char32_t takeFirstScalar(std::string_view& text) noexcept;

}  // namespace quillon
