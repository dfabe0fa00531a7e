#pragma once

#include <memory>

#include "QuillonCore/Runtime/QuillonSystemLogger.h"

namespace quillon {

/// A logger for the system's log: on Linux the journal, and standard error while there is none; on macOS the unified
/// log, where the identifier is the subsystem. In a library of its own (Quillon::SystemLogging), so that programs that
/// do not log there do not load the journal's library.
[[nodiscard]] std::shared_ptr<QuillonLogger> makeSystemLogger(const QuillonSystemLoggerSettings& settings);

}  // namespace quillon
