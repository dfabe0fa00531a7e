#include "QuillonUpdatesAppKitUI/InstallerCoordinator/Linux/VeskUpdateInstallerDownloadFile.h"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "QuillonCore/Runtime/Posix/QuillonPosixPath.h"
#include "QuillonCore/Runtime/Posix/WriteSignalShield.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

/// Copied between two looks at a stop request: a slow disk takes it in a fraction of a second.
constexpr std::uint64_t kCopyBytes = std::uint64_t{4} * 1024 * 1024;

[[noreturn]] void fail(std::string_view action, std::string_view subject) {
  const int code = errno;
  throw QuillonSystemError::posix(code, action, subject);
}

/// Whether the volume cannot set space aside at all, or the process may not have so long a file.
bool cannotReserve(int code) noexcept {
  return code == EOPNOTSUPP || code == ENOSYS || code == EFBIG;
}

/// Whether another way leads to the place all the same: it is on another volume, the file had a name that was removed,
/// or there is no process file system.
bool needsCopy(int code) noexcept {
  return code == EXDEV || code == ENOENT || code == EPERM || code == EOPNOTSUPP || code == EMLINK;
}

}  // namespace

std::unique_ptr<VeskUpdateInstallerDownloadFile> VeskUpdateInstallerDownloadFile::make(const QuillonURL& folder) {
  try {
    const FileDescriptor opened = openDirectory(folder.path(), "keep a download in");
    FileDescriptor file(openat(opened.get(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file) return nullptr;
    return std::unique_ptr<VeskUpdateInstallerDownloadFile>(
        new VeskUpdateInstallerDownloadFile(std::move(file), folder.path()));
  } catch (const QuillonSystemError&) {
    return nullptr;  // there are other places
  }
}

VeskUpdateInstallerDownloadFile::VeskUpdateInstallerDownloadFile(FileDescriptor descriptor, std::string folder)
    : descriptor_(std::move(descriptor)), folder_(std::move(folder)) {}

void VeskUpdateInstallerDownloadFile::reserve(std::uint64_t bytes) {
  if (bytes == 0) return;
  const WriteSignalShield shield;
  while (fallocate(descriptor_.get(), FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(bytes)) != 0) {
    if (cannotReserve(errno)) return;  // writing will tell
    if (errno != EINTR) fail("set space aside for a download in", folder_);
  }
}

void VeskUpdateInstallerDownloadFile::append(std::string_view bytes, const std::stop_token& /*stopToken*/) {
  const WriteSignalShield shield;
  while (!bytes.empty()) {
    const ssize_t count = write(descriptor_.get(), bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail("write a download in", folder_);
    bytes.remove_prefix(static_cast<std::size_t>(count));
    size_ += static_cast<std::uint64_t>(count);
  }
}

void VeskUpdateInstallerDownloadFile::copyTo(VeskUpdateInstallerDownloadBuffer& buffer,
                                             const std::stop_token& stopToken) const {
  std::string piece(static_cast<std::size_t>(std::min(size_, kCopyBytes)), '\0');
  for (std::uint64_t offset = 0; offset < size_;) {
    if (stopToken.stop_requested()) throw QuillonCancellationError();
    const ssize_t count = pread(descriptor_.get(), piece.data(), piece.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail("read a download in", folder_);
    if (count == 0) throw QuillonSystemError::posix(EIO, "read a download in", folder_);
    buffer.append(std::string_view(piece).substr(0, static_cast<std::size_t>(count)), stopToken);
    offset += static_cast<std::uint64_t>(count);
  }
}

void VeskUpdateInstallerDownloadFile::writeAtomically(const QuillonFileManaging&, const QuillonURL& file,
                                                      const std::stop_token& stopToken) {
  AtomicFilePlacement placement(file);
  if (!link(placement, file)) copy(placement, file, stopToken);
  placement.finish();
}

bool VeskUpdateInstallerDownloadFile::link(const AtomicFilePlacement& placement, const QuillonURL& file) const {
  if (fchmod(descriptor_.get(), AtomicFilePlacement::kFileMode) != 0) fail("set the mode of", file.path());
  const std::string own = "/proc/self/fd/" + std::to_string(descriptor_.get());
  const std::string& name = placement.scratchName();
  if (linkat(AT_FDCWD, own.c_str(), placement.folder(), name.c_str(), AT_SYMLINK_FOLLOW) == 0) return true;
  if (!needsCopy(errno)) fail("write", file.path());
  return false;
}

void VeskUpdateInstallerDownloadFile::copy(const AtomicFilePlacement& placement, const QuillonURL& file,
                                           const std::stop_token& stopToken) const {
  const FileDescriptor target = placement.create();
  const WriteSignalShield shield;
  off_t offset = 0;
  while (static_cast<std::uint64_t>(offset) < size_) {
    if (stopToken.stop_requested()) throw QuillonCancellationError();
    const std::uint64_t rest = size_ - static_cast<std::uint64_t>(offset);
    const ssize_t count = sendfile(target.get(), descriptor_.get(), &offset, std::min(rest, kCopyBytes));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail("write", file.path());
    if (count == 0) throw QuillonSystemError::posix(EIO, "read the download for", file.path());
  }
}

}  // namespace quillon
