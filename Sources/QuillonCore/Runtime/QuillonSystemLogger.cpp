#include "QuillonCore/Runtime/QuillonSystemLogger.h"

#include <array>
#include <exception>
#include <utility>

#include "QuillonCore/Runtime/QuillonLogLine.h"

namespace quillon {
namespace {

/// The number of a level in syslog(3).
char priorityOf(QuillonLogLevel level) noexcept {
  switch (level) {
    case QuillonLogLevel::debug:
      return '7';
    case QuillonLogLevel::info:
      return '6';
    case QuillonLogLevel::warn:
      return '4';
    case QuillonLogLevel::error:
      break;
  }
  return '3';
}

}  // namespace

QuillonSystemLogger::QuillonSystemLogger(const QuillonSystemLoggerSettings& settings,
                                         std::shared_ptr<QuillonJournalSending> journal, WriteLine writeLine,
                                         std::shared_ptr<const QuillonClock> clock)
    : minimumLevel_(settings.minimumLevel),
      identifierField_("SYSLOG_IDENTIFIER=" + logText(settings.identifier)),
      journal_(std::move(journal)),
      writeLine_(std::move(writeLine)),
      clock_(std::move(clock)) {}

void QuillonSystemLogger::log(const QuillonLogMessage& message, QuillonLogLevel level,
                              std::string_view category) noexcept {
  if (level < minimumLevel_) return;
  try {
    const std::string text = logTextOf(message);
    const std::array<std::string, 4> fields = {"MESSAGE=" + text, std::string("PRIORITY=") + priorityOf(level),
                                               identifierField_, "QUILLON_CATEGORY=" + logText(category)};
    if (!journal_->send(fields)) writeLine_(logLine(clock_->now(), level, category, text));
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): a message that finds no memory is dropped
  }
}

}  // namespace quillon
