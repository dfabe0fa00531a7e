#include "QuillonCore/Runtime/QuillonSystemLog.h"

#include <exception>

#include "QuillonCore/Runtime/QuillonLogLine.h"
#include "QuillonCore/Runtime/QuillonSystemLogPlatform.h"

namespace quillon {

std::string withControlCharactersEscaped(std::string_view line) {
  return logText(line, std::string::npos);
}

void writeToSystemLog(std::string_view line) noexcept {
  try {
    writeSystemLogLine(withControlCharactersEscaped(line).c_str());
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): a log line that finds no memory is dropped
  }
}

}  // namespace quillon
