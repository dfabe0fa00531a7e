#pragma once

#include <string_view>

namespace quillon {

/// Symbolic name of an `errno` value as POSIX.1-2017 `<errno.h>` lists it ("EPERM"); an unknown code is "EIO".
[[nodiscard]] std::string_view posixErrorName(int code) noexcept;

}  // namespace quillon
