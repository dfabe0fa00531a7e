#include "QuillonCore/Runtime/Posix/QuillonFileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

#include "QuillonCore/Runtime/Posix/QuillonPosixPath.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

[[noreturn]] void fail(int code, const QuillonURL& file) {
  throw QuillonSystemError::posix(code, "lock", file.path());
}

FileDescriptor openLockFile(const QuillonURL& file) {
  const QuillonPosixPlace place = openPlace(file, "lock");
  // Without O_NONBLOCK, what somebody else put there could make the call wait.
  FileDescriptor opened(openat(place.folder.get(), place.name.c_str(),
                               O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, S_IRUSR | S_IWUSR));
  struct stat status {};
  if (!opened || fstat(opened.get(), &status) != 0) fail(errno, file);
  if (!S_ISREG(status.st_mode)) fail(EINVAL, file);
  return opened;
}

}  // namespace

// A lock of flock(2) belongs to the opened file, not to the process, so that threads exclude each other too.
QuillonFileLock::QuillonFileLock(const QuillonURL& file) : descriptor_(openLockFile(file)) {
  while (flock(descriptor_.get(), LOCK_EX) != 0) {
    if (errno != EINTR) fail(errno, file);
  }
}

std::unique_ptr<QuillonFileLock> QuillonFileLock::ifFree(const QuillonURL& file) {
  FileDescriptor opened = openLockFile(file);
  while (flock(opened.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return nullptr;
    if (errno != EINTR) fail(errno, file);
  }
  return std::unique_ptr<QuillonFileLock>(new QuillonFileLock(std::move(opened)));
}

QuillonFileLock::~QuillonFileLock() {
  // Closing alone would leave the lock with a child that was forked meanwhile.
  (void)flock(descriptor_.get(), LOCK_UN);
}

}  // namespace quillon
