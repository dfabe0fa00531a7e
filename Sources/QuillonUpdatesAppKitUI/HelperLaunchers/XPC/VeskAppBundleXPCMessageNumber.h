#pragma once

#include <cstdint>
#include <optional>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

// The rules by which a value of a message becomes a number or Boolean. Both ends of a connection write plain values,
// but a message may have passed through a format or a platform that keeps them differently: as text, or with numbers
// and Booleans as one kind of object (`NSNumber`). So integers, reals and Booleans are all numbers here, converted as
// `NSNumber` converts them:
//
//   to an integer   A Boolean is 1 or 0. A real loses its fraction, towards zero; beyond the signed 64-bit range it
//   counts
//                   as the nearest end of the range, infinities too. NaN is refused: it is no integer, and what its
//                   conversion yields differs from processor to processor.
//   to a Boolean    Everything but zero is true, fractions and NaN too; -0.0 is zero.
//
// A property list holds no integer above 9223372036854775807. In texts numbers are decimal ASCII digits, nothing before
// or after them but one sign where a rule allows it. Values of every other kind are refused by every rule.

/// Integer rule: a number, or a text with an optional "+" or "-".
[[nodiscard]] std::optional<std::int64_t> xpcMessageInteger(const QuillonPropertyListValue& value) noexcept;

/// Result integer rule: a number; texts are refused.
[[nodiscard]] std::optional<std::int64_t> xpcMessageResultInteger(const QuillonPropertyListValue& value) noexcept;

/// Unsigned 32-bit rule: a number that converts to 0 to 4294967295, or a text of one with an optional "+". "-0" is
/// refused.
[[nodiscard]] std::optional<std::uint32_t> xpcMessageUnsigned32(const QuillonPropertyListValue& value) noexcept;

/// Unsigned 64-bit rule: a number that converts to 0 or more; texts are refused.
[[nodiscard]] std::optional<std::uint64_t> xpcMessageUnsigned64(const QuillonPropertyListValue& value) noexcept;

/// Bool rule: a number, or one of the texts "1", "true", "TRUE", "0", "false", "FALSE".
[[nodiscard]] std::optional<bool> xpcMessageBool(const QuillonPropertyListValue& value) noexcept;

}  // namespace quillon
