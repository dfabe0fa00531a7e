#pragma once

#include <cstdint>
#include <optional>

namespace quillon {

/// Tells keys from what arrows, function keys and keys with Alt send: Escape and more (ECMA-48, 5.4), which a slow line
/// may deliver in pieces. None of that is a key that a choice has, and none of its digits may make one.
///
/// | state     | Escape    | "[" or "O" | blank to "?"  | any other byte | nothing comes        |
/// |-----------|-----------|------------|---------------|----------------|----------------------|
/// | text      | undecided | a key      | a key         | a key          |                      |
/// | undecided | undecided | sequence   | dropped, text | dropped, text  | Escape key, reported |
/// | reported  | undecided | sequence   | a key, text   | a key, text    |                      |
/// | sequence  | undecided | dropped, text | dropped    | dropped, text  |                      |
///
/// A sequence that was begun waits for its end however long that takes, also one whose Escape was reported as a key.
class VeskUpdateTerminalKeySequence {
 public:
  /// The key that `byte` is; none where it belongs to more than a key, or may do so.
  [[nodiscard]] std::optional<char> take(char byte) noexcept;

  /// Whether Escape was the last byte: a key of its own if nothing follows soon.
  [[nodiscard]] bool isUndecided() const noexcept { return state_ == State::undecided; }
  /// Nothing has followed: an undecided Escape has been a key.
  void decide() noexcept;

 private:
  enum class State : std::uint8_t { text, undecided, reported, sequence };

  State state_ = State::text;
};

}  // namespace quillon
