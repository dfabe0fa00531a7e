#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonLogger.h"
#include "QuillonCore/Values/QuillonDate.h"

// How messages look in a log, wherever it is kept.

namespace quillon {

/// Most bytes of a line with its end. A pipe takes that much in one piece (PIPE_BUF of Linux), so that lines of several
/// writers do not mix.
inline constexpr std::size_t kLongestLogLine = 4096;

/// Most bytes of a message's text in a log, escapes included.
inline constexpr std::size_t kLongestLogText = 3840;

/// `text` on one line: control characters, characters that break or turn around lines, and bytes that are no UTF-8 are
/// written as "\x0a" or "\u2028". No line can thus be forged. What goes beyond `limit` bytes is cut and marked "...".
[[nodiscard]] std::string logText(std::string_view text, std::size_t limit = kLongestLogText);

/// The text that `message` makes, as logText() leaves it. When making it fails, a text that says so.
[[nodiscard]] std::string logTextOf(const QuillonLogMessage& message, std::size_t limit = kLongestLogText);

/// "2024-06-15T12:00:00.000000Z warn [category] text" and a line feed, at most kLongestLogLine bytes. `text` is one
/// of the functions above. Dates are UTC, ISO 8601, of the years 1 to 9999.
[[nodiscard]] std::string logLine(QuillonDate date, QuillonLogLevel level, std::string_view category,
                                  std::string_view text);

}  // namespace quillon
