#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillon {

/// A number of bytes as the platform writes sizes of files. On macOS the system's formatter does, in the user's
/// language; elsewhere formattedFileByteCount() in `language`.
[[nodiscard]] std::string systemFormattedByteCount(std::int64_t byteCount, std::string_view language);

}  // namespace quillon
