#pragma once

#include <systemd/sd-bus.h>

#include <cstddef>
#include <optional>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

// A dictionary on the bus, "a{sv}". Flat, as the messages of the launcher are: texts, Booleans, integers and reals.
//
// The limits here are of what is sent and of what is handed on. Either end can make the other one hold more: sd-bus
// receives a message whole before it can be read, up to D-Bus's own limit of 128 MiB (D-Bus specification, "Message
// Format"), in memory that grows with what has arrived. The limit cannot be set, and the socket cannot be looked at
// beforehand: how much of the next message sd-bus has read already is known to it alone.

/// D-Bus signature of a dictionary.
inline constexpr const char* kLauncherBusDictionarySignature = "a{sv}";
/// Entries of a dictionary that crosses the bus.
inline constexpr std::size_t kLargestLauncherBusDictionaryCount = 256;
/// Bytes of all its keys and texts together.
inline constexpr std::size_t kLargestLauncherBusDictionaryText = std::size_t{1} << 20;

/// Whether the bus can carry `dictionary`: nothing nested, no data or date, no more than the limits above, and all text
/// UTF-8 without NUL.
[[nodiscard]] bool fitsLauncherBus(const QuillonPropertyListValue::Dictionary& dictionary) noexcept;

/// Appends `dictionary`, which fits. 0 or more, or a negative errno value.
[[nodiscard]] int appendLauncherBusDictionary(sd_bus_message* message,
                                              const QuillonPropertyListValue::Dictionary& dictionary) noexcept;

/// The dictionary that is the body of `message`. Absent for a body of another signature, one beyond the limits, a key
/// that occurs twice, and a value of any other type than s, b, d, y, n, q, i, u, x or t, or a t above
/// 9223372036854775807. Stops at the first of these, so that what is nested is not walked through.
[[nodiscard]] std::optional<QuillonPropertyListValue::Dictionary> readLauncherBusDictionary(sd_bus_message* message);

}  // namespace quillon
