#include "QuillonCore/Runtime/QuillonSystemLogging.h"

#include <unistd.h>

#include "QuillonCore/Runtime/Linux/QuillonLinuxJournal.h"
#include "QuillonCore/Runtime/Posix/QuillonDescriptorLine.h"
#include "QuillonCore/Runtime/QuillonSystemClock.h"

namespace quillon {

std::shared_ptr<QuillonLogger> makeSystemLogger(const QuillonSystemLoggerSettings& settings) {
  return std::make_shared<QuillonSystemLogger>(
      settings, std::make_shared<QuillonLinuxJournal>(), [](std::string_view line) { writeLine(STDERR_FILENO, line); },
      std::make_shared<QuillonSystemClock>());
}

}  // namespace quillon
