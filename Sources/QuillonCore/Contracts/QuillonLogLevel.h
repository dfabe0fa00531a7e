#pragma once

#include <cstdint>
#include <optional>

namespace quillon {

/// How much a message matters, least first.
enum class QuillonLogLevel : std::int64_t {  // NOLINT(performance-enum-size): the raw value is a full integer
  debug = 0,
  info = 1,
  warn = 2,
  error = 3,
};

/// The level with a raw value; absent outside 0 to 3.
[[nodiscard]] constexpr std::optional<QuillonLogLevel> quillonLogLevel(std::int64_t rawValue) noexcept {
  if (rawValue < 0 || rawValue > 3) return std::nullopt;
  return static_cast<QuillonLogLevel>(rawValue);
}

}  // namespace quillon
