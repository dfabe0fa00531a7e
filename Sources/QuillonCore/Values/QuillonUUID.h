#pragma once

#include <string>

namespace quillon {

/// A new random UUID (RFC 9562, version 4) in its upper-case text form, 36 characters.
[[nodiscard]] std::string makeUUIDString();

}  // namespace quillon
