#include "QuillonCore/Runtime/QuillonSystemLog.h"

#include <exception>

#include "QuillonCore/Runtime/QuillonSystemLogPlatform.h"

namespace quillon {

std::string withControlCharactersEscaped(std::string_view line) {
  static constexpr std::string_view kHex = "0123456789abcdef";
  std::string result;
  result.reserve(line.size());
  for (const char c : line) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) {
      result += c;
    } else {
      result.append("\\x").append(1, kHex[byte >> 4]).append(1, kHex[byte & 15]);
    }
  }
  return result;
}

void writeToSystemLog(std::string_view line) noexcept {
  try {
    writeSystemLogLine(withControlCharactersEscaped(line).c_str());
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): a log line that finds no memory is dropped
  }
}

}  // namespace quillon
