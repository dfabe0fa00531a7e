#include "QuillonUpdatesAppKitUI/InstallerCoordinator/Posix/AtomicFilePlacement.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonUUID.h"

namespace quillon {
namespace {

[[noreturn]] void fail(std::string_view action, const QuillonURL& file) {
  const int code = errno;
  throw QuillonSystemError::posix(code, action, file.path());
}

}  // namespace

AtomicFilePlacement::AtomicFilePlacement(const QuillonURL& file)
    : file_(file), place_(openPlace(file, "write")), scratchName_(".vesk-write-" + makeUUIDString()) {}

AtomicFilePlacement::~AtomicFilePlacement() {
  if (!isFinished_) unlinkat(folder(), scratchName_.c_str(), 0);  // may never have been made
}

FileDescriptor AtomicFilePlacement::create() const {
  FileDescriptor file(
      openat(folder(), scratchName_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!file) fail("write", file_);
  if (fchmod(file.get(), kFileMode) != 0) fail("set the mode of", file_);
  return file;
}

void AtomicFilePlacement::finish() {
  if (renameat(folder(), scratchName_.c_str(), folder(), place_.name.c_str()) != 0) fail("write", file_);
  isFinished_ = true;
}

}  // namespace quillon
