#include "QuillonTool/QuillonToolConsole.h"

#include "QuillonCore/Runtime/QuillonSystemLog.h"

namespace quillon {

void QuillonToolConsole::printLine(std::string_view line) {
  output_ << withControlCharactersEscaped(line) << '\n';
}

void QuillonToolConsole::printText(std::string_view text) {
  output_ << text;
}

void QuillonToolConsole::printError(std::string_view line) {
  output_.flush();
  error_ << withControlCharactersEscaped(line) << '\n';
}

void QuillonToolConsole::writeToTerminal(std::string_view text) {
  error_ << text << std::flush;
}

bool QuillonToolConsole::finish() {
  return static_cast<bool>(output_.flush());
}

}  // namespace quillon
