#pragma once

#include <memory>

#include "QuillonCore/Runtime/QuillonSystemLogger.h"

namespace quillon {

/// A logger for the system's log: its journal, and standard error while there is none. In a library of its own
/// (Quillon::SystemLogging), so that programs that do not log there do not load the journal's library.
[[nodiscard]] std::shared_ptr<QuillonLogger> makeSystemLogger(const QuillonSystemLoggerSettings& settings);

}  // namespace quillon
