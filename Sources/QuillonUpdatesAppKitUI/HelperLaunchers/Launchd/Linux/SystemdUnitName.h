#pragma once

#include <string>
#include <string_view>

namespace quillon {

/// Name of the service unit that runs the job `label`: characters that systemd.unit(5) does not allow in a name, and
/// the backslash, are written as "\xHH", so that different labels have different units.
[[nodiscard]] std::string systemdServiceName(std::string_view label);

}  // namespace quillon
