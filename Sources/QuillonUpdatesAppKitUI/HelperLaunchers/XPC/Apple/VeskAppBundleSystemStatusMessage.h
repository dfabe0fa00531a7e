#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quillon {

/// The operating system's text for a status (`SecCopyErrorMessageString`), for VeskAppBundleStatusMessage. Absent when
/// it has none.
[[nodiscard]] std::optional<std::string> systemStatusMessage(std::int32_t status);

}  // namespace quillon
