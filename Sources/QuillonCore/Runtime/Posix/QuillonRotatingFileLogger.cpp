#include "QuillonCore/Runtime/QuillonRotatingFileLogger.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/PrivateFolders.h"
#include "QuillonCore/Runtime/Posix/QuillonFileLock.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixPath.h"
#include "QuillonCore/Runtime/Posix/WriteSignalShield.h"
#include "QuillonCore/Runtime/QuillonLogLine.h"
#include "QuillonCore/Text/CountedNoun.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

QuillonPosixPlace openOrMakePlace(const QuillonURL& file) {
  try {
    return openPlace(file, "log to");
  } catch (const QuillonSystemError& error) {
    if (!error.isPOSIX(ENOENT)) throw;
  }
  createPrivateFolders(QuillonPosixFileManager(), file.deletingLastPathComponent());
  return openPlace(file, "log to");
}

bool isSameFile(const struct stat& a, const struct stat& b) noexcept {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

/// The file that is written to.
class QuillonRotatingFileLogger::File {
 public:
  explicit File(const QuillonRotatingFileLoggerSettings& settings)
      : url_(settings.file),
        lockFile_(QuillonURL::fileURL(settings.file.path() + ".lock")),
        sizeLimit_(settings.fileSizeLimit),
        oldFileCount_(settings.oldFileCount) {}

  void openFirst() {
    const std::lock_guard guard(lock_);
    open();
  }

  void append(const std::string& line, QuillonDate date) noexcept {
    const std::lock_guard guard(lock_);
    try {
      appendWithReport(line, date);
      lostCount_ = 0;
    } catch (const std::exception&) {
      ++lostCount_;
    }
  }

 private:
  void appendWithReport(const std::string& line, QuillonDate date) {
    std::string text;
    if (lostCount_ > 0) {
      text = logLine(date, QuillonLogLevel::warn, "log",
                     countedNoun(lostCount_, "message was", "messages were") + " lost");
    }
    text += line;
    openForLine(text.size());
    // A line of which a full disk took only the beginning is ended first.
    if (isInsideLine_) text.insert(0, "\n");
    write(text);
  }

  /// Makes `descriptor_` the file at the place of the log, with room for `size` more bytes.
  void openForLine(std::size_t size) {
    if (!isCurrent()) open();
    if (hasRoomFor(size)) return;
    startAnotherFile(size);
  }

  /// Whether the open file is still the one that has the name: somebody can have moved or removed it.
  [[nodiscard]] bool isCurrent() const noexcept {
    struct stat opened {};
    struct stat named {};
    return descriptor_ && fstat(descriptor_.get(), &opened) == 0 && lstat(url_.path().c_str(), &named) == 0 &&
           isSameFile(opened, named);
  }

  [[nodiscard]] bool hasRoomFor(std::size_t size) const {
    struct stat status {};
    if (fstat(descriptor_.get(), &status) != 0) fail();
    // A line that is longer than the limit has a file to itself.
    return status.st_size == 0 || static_cast<std::uint64_t>(status.st_size) + size <= sizeLimit_;
  }

  void open() {
    descriptor_.reset();
    const QuillonPosixPlace place = openOrMakePlace(url_);
    // Without O_NONBLOCK, what somebody else put there could make the call wait.
    FileDescriptor opened(openat(place.folder.get(), place.name.c_str(),
                                 O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                                 S_IRUSR | S_IWUSR));
    struct stat status {};
    if (!opened || fstat(opened.get(), &status) != 0) fail();
    if (!S_ISREG(status.st_mode)) throw QuillonSystemError::posix(EINVAL, "log to", url_.path());
    descriptor_ = std::move(opened);
    isInsideLine_ = false;
  }

  void startAnotherFile(std::size_t size) {
    const QuillonFileLock rotation(lockFile_);
    // While this one waited, another process can have done it.
    if (!isCurrent()) open();
    if (hasRoomFor(size)) return;
    moveFilesOn();
    open();
  }

  void moveFilesOn() const {
    const QuillonPosixPlace place = openPlace(url_, "log to");
    const int folder = place.folder.get();
    if (oldFileCount_ == 0) {
      if (unlinkat(folder, place.name.c_str(), 0) != 0) fail();
      return;
    }
    for (unsigned number = oldFileCount_; number > 0; --number) {
      const std::string from = number == 1 ? place.name : place.name + "." + std::to_string(number - 1);
      const std::string to = place.name + "." + std::to_string(number);
      if (renameat(folder, from.c_str(), folder, to.c_str()) != 0 && errno != ENOENT) fail();
    }
  }

  void write(const std::string& text) {
    const WriteSignalShield shield;
    ssize_t written = 0;
    do {
      written = ::write(descriptor_.get(), text.data(), text.size());
    } while (written < 0 && errno == EINTR);
    if (written < 0) fail();
    isInsideLine_ = static_cast<std::size_t>(written) < text.size();
    if (isInsideLine_) throw QuillonSystemError::posix(ENOSPC, "log to", url_.path());
  }

  [[noreturn]] void fail() const { throw QuillonSystemError::posix(errno, "log to", url_.path()); }

  const QuillonURL url_;
  const QuillonURL lockFile_;
  const std::uint64_t sizeLimit_;
  const unsigned oldFileCount_;
  std::mutex lock_;
  FileDescriptor descriptor_;    // guarded by lock_
  bool isInsideLine_ = false;    // guarded by lock_
  std::uint64_t lostCount_ = 0;  // guarded by lock_
};

QuillonRotatingFileLogger::QuillonRotatingFileLogger(const QuillonRotatingFileLoggerSettings& settings,
                                                     std::shared_ptr<const QuillonClock> clock)
    : minimumLevel_(settings.minimumLevel), clock_(std::move(clock)), file_(std::make_unique<File>(settings)) {}

QuillonRotatingFileLogger::~QuillonRotatingFileLogger() = default;

void QuillonRotatingFileLogger::open() {
  file_->openFirst();
}

void QuillonRotatingFileLogger::log(const QuillonLogMessage& message, QuillonLogLevel level,
                                    std::string_view category) noexcept {
  if (level < minimumLevel_) return;
  try {
    const QuillonDate date = clock_->now();
    file_->append(logLine(date, level, category, logTextOf(message)), date);
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): a message that finds no memory is dropped
  }
}

}  // namespace quillon
