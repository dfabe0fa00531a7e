#pragma once

#include <string_view>

namespace quillon {

/// Whether `name`, appended to a folder's path, names an item of that folder: it is not empty, "." or "..", and has
/// neither slash nor NUL.
[[nodiscard]] bool isSinglePathComponent(std::string_view name) noexcept;

}  // namespace quillon
