#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

/// Bytes of the newline character that begins at `position` in UTF-8 `text`, 0 when there is none. CR LF is one.
/// Newlines are those of Unicode's UAX #14: LF, VT, FF, CR, NEL (U+0085), LS (U+2028) and PS (U+2029).
[[nodiscard]] std::size_t newlineLength(std::string_view text, std::size_t position) noexcept;

/// The lines of `text`, without their newline characters. Views into `text`.
[[nodiscard]] std::vector<std::string_view> lines(std::string_view text);

/// `text` with every newline character written as backslash and "n".
[[nodiscard]] std::string withNewlinesEscaped(std::string_view text);

/// `text` without white space and newlines at both ends (ASCII white space, NEL, NBSP, and the spaces of U+2000 to
/// U+2029).
[[nodiscard]] std::string_view trimmed(std::string_view text) noexcept;

}  // namespace quillon
