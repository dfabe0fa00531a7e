#pragma once

#include <string_view>

namespace quillon {

/// Whether two texts (UTF-8) are equal when each scalar counts as its lower case, if it has one of one scalar. Bad
/// bytes equal themselves only.
[[nodiscard]] bool equalIgnoringCase(std::string_view a, std::string_view b) noexcept;

}  // namespace quillon
