#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageNumber.h"

#include <cmath>
#include <limits>
#include <string>
#include <string_view>

#include "QuillonCore/Text/DecimalNumber.h"

namespace quillon {
namespace {

std::optional<std::int64_t> truncated(double real) noexcept {
  // Both ends are powers of two, which a double holds exactly; 2^63 itself is the first number too large.
  constexpr double kEnd = 0x1p63;
  if (std::isnan(real)) return std::nullopt;
  if (real >= kEnd) return std::numeric_limits<std::int64_t>::max();
  if (real < -kEnd) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(real);
}

std::optional<bool> boolOfText(std::string_view text) noexcept {
  if (text == "1" || text == "true" || text == "TRUE") return true;
  if (text == "0" || text == "false" || text == "FALSE") return false;
  return std::nullopt;
}

}  // namespace

std::optional<std::int64_t> xpcMessageResultInteger(const QuillonPropertyListValue& value) noexcept {
  if (const auto* const integer = value.getIf<std::int64_t>()) return *integer;
  if (const auto* const boolean = value.getIf<bool>()) return *boolean ? 1 : 0;
  if (const auto* const real = value.getIf<double>()) return truncated(*real);
  return std::nullopt;
}

std::optional<std::int64_t> xpcMessageInteger(const QuillonPropertyListValue& value) noexcept {
  if (const auto* const text = value.getIf<std::string>()) return decimalNumber<std::int64_t>(*text);
  return xpcMessageResultInteger(value);
}

std::optional<std::uint32_t> xpcMessageUnsigned32(const QuillonPropertyListValue& value) noexcept {
  if (const auto* const text = value.getIf<std::string>()) {
    if (text->starts_with('-')) return std::nullopt;
    return decimalNumber<std::uint32_t>(*text);
  }
  const auto number = xpcMessageResultInteger(value);
  if (!number || *number < 0 || *number > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

std::optional<std::uint64_t> xpcMessageUnsigned64(const QuillonPropertyListValue& value) noexcept {
  const auto number = xpcMessageResultInteger(value);
  if (!number || *number < 0) return std::nullopt;
  return static_cast<std::uint64_t>(*number);
}

std::optional<bool> xpcMessageBool(const QuillonPropertyListValue& value) noexcept {
  if (const auto* const boolean = value.getIf<bool>()) return *boolean;
  if (const auto* const integer = value.getIf<std::int64_t>()) return *integer != 0;
  if (const auto* const real = value.getIf<double>()) return *real != 0.0;
  if (const auto* const text = value.getIf<std::string>()) return boolOfText(*text);
  return std::nullopt;
}

}  // namespace quillon
