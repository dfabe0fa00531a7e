#pragma once

#include <cstdint>
#include <memory>

#include "QuillonCore/Contracts/QuillonClock.h"
#include "QuillonCore/Contracts/QuillonLogger.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

struct QuillonRotatingFileLoggerSettings {
  /// The file with the latest messages. Its folder is made, for its user alone, when it is missing.
  QuillonURL file;
  /// Bytes that the file may have before it becomes the first of the old ones.
  std::uint64_t fileSizeLimit = std::uint64_t{1} << 20;
  /// How many old files are kept: "<file>.1" is the latest of them.
  unsigned oldFileCount = 3;
  /// Messages of lower levels are dropped without making their texts.
  QuillonLogLevel minimumLevel = QuillonLogLevel::info;
};

/// Logs to a file, a line for each message, in the form of QuillonLogLine.h. A line that would make the file longer
/// than its limit starts another file. Each line is written with one call at the end of the file as it is then, so that
/// threads and processes may share it; who starts another file holds the lock "<file>.lock". The limit is exceeded by
/// at most a line for each process that writes while another one does that. Files have mode 0600; symbolic links are
/// not followed.
///
/// Callable from any thread. Never throws: a message whose text cannot be made is logged as that. Messages that cannot
/// be written, because the disk is full or the folder cannot be made, are dropped; the next one that can be written
/// comes with their number.
class QuillonRotatingFileLogger final : public QuillonLogger {
 public:
  QuillonRotatingFileLogger(const QuillonRotatingFileLoggerSettings& settings,
                            std::shared_ptr<const QuillonClock> clock);
  ~QuillonRotatingFileLogger() override;
  QuillonRotatingFileLogger(const QuillonRotatingFileLogger&) = delete;
  QuillonRotatingFileLogger& operator=(const QuillonRotatingFileLogger&) = delete;

  /// Opens the file, or makes it, so that whoever has named it hears at once when it cannot be written. Nothing has to
  /// be opened before messages are logged. Throws QuillonSystemError.
  void open();
  void log(const QuillonLogMessage& message, QuillonLogLevel level, std::string_view category) noexcept override;

 private:
  class File;

  const QuillonLogLevel minimumLevel_;
  const std::shared_ptr<const QuillonClock> clock_;
  const std::unique_ptr<File> file_;
};

}  // namespace quillon
