#pragma once

#include <string>
#include <string_view>

namespace quillon {

// Text from outside, made fit to be shown as plain text in a label or a terminal: nothing in it moves a cursor, begins
// an escape sequence or turns the direction of the text around it. Markup stays as it stands, as does the length.

/// `text` in one line: every newline (CR LF is one) and tab is a blank, other control characters (Cc) and those that
/// embed, override or isolate a direction (U+202A to U+202E, U+2066 to U+2069) are gone, and a byte that is no UTF-8 is
/// U+FFFD.
[[nodiscard]] std::string singleLineText(std::string_view text);

/// As singleLineText(), with every newline as LF.
[[nodiscard]] std::string multiLineText(std::string_view text);

}  // namespace quillon
