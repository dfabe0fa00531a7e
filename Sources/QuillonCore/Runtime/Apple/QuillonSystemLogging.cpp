#include "QuillonCore/Runtime/QuillonSystemLogging.h"

#include <os/log.h>

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <type_traits>

#include "QuillonCore/Runtime/QuillonLogLine.h"

namespace quillon {
namespace {

/// The system cuts what it keeps of a message's text at 1024 bytes, without a mark (os/log.h).
constexpr std::size_t kLongestUnifiedLogText = 1000;

struct ReleasesLog {
  void operator()(os_log_t log) const noexcept { os_release(log); }
};
using Log = std::unique_ptr<std::remove_pointer_t<os_log_t>, ReleasesLog>;

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
      // The system keeps one log for each subsystem and category, whoever asks for it.
      const Log log(os_log_create(settings_.identifier.c_str(), std::string(category).c_str()));
      if (!os_log_type_enabled(log.get(), typeOf(level))) return;
      const std::string text = logTextOf(message, kLongestUnifiedLogText);
      os_log_with_type(log.get(), typeOf(level), "%{public}s", text.c_str());
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
