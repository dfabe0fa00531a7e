#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalKeySequence.h"

#include <utility>

#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminal.h"

namespace quillon {
namespace {

bool beginsSequence(char byte) noexcept {
  return byte == '[' || byte == 'O';
}

/// Parameter and intermediate bytes stand before the last one of a sequence.
bool isInsideSequence(char byte) noexcept {
  return byte >= ' ' && byte <= '?';
}

}  // namespace

std::optional<char> VeskUpdateTerminalKeySequence::take(char byte) noexcept {
  if (byte == VeskUpdateTerminal::kEscapeKey) {
    state_ = State::undecided;
    return std::nullopt;
  }
  switch (std::exchange(state_, State::text)) {
    case State::sequence:
      if (isInsideSequence(byte)) state_ = State::sequence;
      return std::nullopt;
    case State::undecided:
      if (beginsSequence(byte)) state_ = State::sequence;
      return std::nullopt;
    case State::reported:
      if (!beginsSequence(byte)) break;
      state_ = State::sequence;
      return std::nullopt;
    case State::text:
      break;
  }
  return byte == '\r' ? VeskUpdateTerminal::kReturnKey : byte;
}

void VeskUpdateTerminalKeySequence::decide() noexcept {
  if (state_ == State::undecided) state_ = State::reported;
}

}  // namespace quillon
