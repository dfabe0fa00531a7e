#pragma once

#include <string>
#include <string_view>

namespace quillon {

/// `text` as the content of an XML element: markup escaped, line breaks and tabs as blanks, and U+FFFD for what XML 1.0
/// has no place for, for bytes that are not UTF-8, and for the marks that change the direction of writing around them.
[[nodiscard]] std::string svgText(std::string_view text);

}  // namespace quillon
