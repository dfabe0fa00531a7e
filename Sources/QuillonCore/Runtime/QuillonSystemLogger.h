#pragma once

#include <functional>
#include <memory>
#include <string>

#include "QuillonCore/Contracts/QuillonClock.h"
#include "QuillonCore/Contracts/QuillonJournalSending.h"
#include "QuillonCore/Contracts/QuillonLogger.h"

namespace quillon {

struct QuillonSystemLoggerSettings {
  /// What the journal calls the program: SYSLOG_IDENTIFIER.
  std::string identifier;
  /// Messages of lower levels are dropped without making their texts.
  QuillonLogLevel minimumLevel = QuillonLogLevel::info;
};

/// Logs to the system's journal, with the fields MESSAGE, PRIORITY (syslog(3)), SYSLOG_IDENTIFIER and
/// QUILLON_CATEGORY; to somewhere else, line by line, while there is no journal. See QuillonLogLine.h for what becomes
/// of texts. makeSystemLogger() puts one together.
///
/// Callable from any thread. Never throws: a message whose text cannot be made is logged as that, and one that cannot
/// be handed over is dropped.
class QuillonSystemLogger final : public QuillonLogger {
 public:
  /// Takes a whole line with its end. Called from the threads that log, from several at once.
  using WriteLine = std::function<void(std::string_view line)>;

  QuillonSystemLogger(const QuillonSystemLoggerSettings& settings, std::shared_ptr<QuillonJournalSending> journal,
                      WriteLine writeLine, std::shared_ptr<const QuillonClock> clock);

  void log(const QuillonLogMessage& message, QuillonLogLevel level, std::string_view category) noexcept override;

 private:
  const QuillonLogLevel minimumLevel_;
  const std::string identifierField_;
  const std::shared_ptr<QuillonJournalSending> journal_;
  const WriteLine writeLine_;
  const std::shared_ptr<const QuillonClock> clock_;
};

}  // namespace quillon
