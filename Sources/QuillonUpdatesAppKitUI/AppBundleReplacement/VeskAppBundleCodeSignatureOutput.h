#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillon {

/// A value as diagnostic lines show it: an empty one is "<empty>".
[[nodiscard]] std::string_view orEmptyMark(std::string_view value) noexcept;

/// A tool's output in one line of a diagnostic: trimmed, newlines as backslash and "n", the first 500 characters and
/// "..." of a longer one, "<empty>" for nothing.
[[nodiscard]] std::string printableOutput(std::string_view output);

/// The team in the code-signing tool's description of a bundle: the rest of the first line that begins with
/// "TeamIdentifier=". Absent without such a line, and where another one says otherwise: codesign(1) prints identifiers
/// and names as they stand, and one that has a newline in it can write a line of its own.
[[nodiscard]] std::optional<std::string> teamIdentifierInOutput(std::string_view output);

}  // namespace quillon
