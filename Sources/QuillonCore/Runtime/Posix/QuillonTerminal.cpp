#include "QuillonCore/Runtime/QuillonTerminal.h"

#include <unistd.h>

namespace quillon {

bool standardErrorIsTerminal() noexcept {
  return isatty(STDERR_FILENO) == 1;
}

bool standardInputIsTerminal() noexcept {
  return isatty(STDIN_FILENO) == 1;
}

}  // namespace quillon
