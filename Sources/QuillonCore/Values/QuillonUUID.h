#pragma once

#include <string>
#include <string_view>

namespace quillon {

/// A new random UUID (RFC 9562, version 4) in its upper-case text form, 36 characters.
[[nodiscard]] std::string makeUUIDString();
/// Whether `text` has the form that makeUUIDString() gives its texts.
[[nodiscard]] bool isUUIDString(std::string_view text) noexcept;

}  // namespace quillon
