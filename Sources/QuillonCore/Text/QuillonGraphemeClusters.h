#pragma once

#include <cstddef>
#include <string_view>

namespace quillon {

/// Number of scalars of the first grapheme cluster of `scalars` (UAX #29, extended clusters); 0 for an empty text.
[[nodiscard]] std::size_t firstGraphemeClusterLength(std::u32string_view scalars) noexcept;

}  // namespace quillon
