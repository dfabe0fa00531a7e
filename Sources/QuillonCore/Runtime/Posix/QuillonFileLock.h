#pragma once

#include <memory>
#include <utility>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Holds the lock of a file: one holder at a time, whatever thread or process it is in. A process that dies lets go.
/// Guards files: memory that threads share needs a mutex besides, for the system orders only files by it.
/// Not recursive: a thread that takes the same lock twice waits for itself.
class QuillonFileLock {
 public:
  /// Waits for the lock of `file`, which is created (mode 0600) when it is missing, and should be left there: a lock
  /// file that is removed while somebody waits for it lets two in.
  /// Throws QuillonSystemError; ELOOP for a link, EINVAL for anything else but a regular file.
  explicit QuillonFileLock(const QuillonURL& file);
  /// The same without waiting: null while somebody else holds the lock.
  [[nodiscard]] static std::unique_ptr<QuillonFileLock> ifFree(const QuillonURL& file);
  ~QuillonFileLock();
  QuillonFileLock(const QuillonFileLock&) = delete;
  QuillonFileLock& operator=(const QuillonFileLock&) = delete;

 private:
  explicit QuillonFileLock(FileDescriptor locked) noexcept : descriptor_(std::move(locked)) {}

  FileDescriptor descriptor_;
};

}  // namespace quillon
