#include "QuillonCore/Runtime/QuillonSystemLogging.h"

#include <os/log.h>

#include <exception>
#include <string>

#include "QuillonCore/Runtime/QuillonLogLine.h"

namespace quillon {
namespace {

os_log_type_t typeOf(QuillonLogLevel level) noexcept {
  switch (level) {
    case QuillonLogLevel::debug:
      return OS_LOG_TYPE_DEBUG;
    case QuillonLogLevel::info:
      return OS_LOG_TYPE_INFO;
    case QuillonLogLevel::warn:
      return OS_LOG_TYPE_DEFAULT;
    case QuillonLogLevel::error:
      break;
  }
  return OS_LOG_TYPE_ERROR;
}

/// Logs to the unified log, where the identifier is the subsystem.
class UnifiedLogger final : public QuillonLogger {
 public:
  explicit UnifiedLogger(const QuillonSystemLoggerSettings& settings) : settings_(settings) {}

  void log(const QuillonLogMessage& message, QuillonLogLevel level, std::string_view category) noexcept override {
    if (level < settings_.minimumLevel) return;
    try {
      const std::string text = logTextOf(message);
      // The system keeps one log for each subsystem and category, whoever asks for it.
      os_log_t const log = os_log_create(settings_.identifier.c_str(), std::string(category).c_str());
      os_log_with_type(log, typeOf(level), "%{public}s", text.c_str());
      os_release(log);
    } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): a message that finds no memory is dropped
    }
  }

 private:
  const QuillonSystemLoggerSettings settings_;
};

}  // namespace

std::shared_ptr<QuillonLogger> makeSystemLogger(const QuillonSystemLoggerSettings& settings) {
  return std::make_shared<UnifiedLogger>(settings);
}

}  // namespace quillon
