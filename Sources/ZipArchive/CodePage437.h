#pragma once

#include <string>
#include <string_view>

namespace quillon {

/// `text` of IBM's code page 437, the encoding of old names in zip archives, as UTF-8. Bytes below 0x80 are ASCII.
[[nodiscard]] std::string textFromCodePage437(std::string_view text);

}  // namespace quillon
