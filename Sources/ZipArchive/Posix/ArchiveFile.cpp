#include "ZipArchive/Posix/ArchiveFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "ZipArchive/ZipArchiveError.h"

namespace quillon {

ArchiveFile::ArchiveFile(std::string path) : path_(std::move(path)) {
  // Without O_NONBLOCK a pipe of the archive's name would make the open wait for a writer.
  file_ = FileDescriptor(open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file_ || fstat(file_.get(), &status) != 0) throw QuillonSystemError::posix(errno, "open", path_);
  if (!S_ISREG(status.st_mode)) throw ZipArchiveError(quotedArchiveName(path_) + " is no file.");
  length_ = static_cast<std::uint64_t>(status.st_size);
  device_ = status.st_dev;
  inode_ = status.st_ino;
}

bool ArchiveFile::isItem(dev_t device, ino_t inode) const noexcept {
  return device == device_ && inode == inode_;
}

void ArchiveFile::read(std::uint64_t offset, std::span<char> bytes) const {
  if (offset > length_ || bytes.size() > length_ - offset) throw ZipArchiveError::damaged("it ends too early");
  while (!bytes.empty()) {
    const ssize_t count = pread(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw QuillonSystemError::posix(errno, "read", path_);
    if (count == 0) throw ZipArchiveError::damaged("it ends too early");
    bytes = bytes.subspan(static_cast<std::size_t>(count));
    offset += static_cast<std::uint64_t>(count);
  }
}

std::string ArchiveFile::read(std::uint64_t offset, std::size_t length) const {
  if (offset > length_ || length > length_ - offset) throw ZipArchiveError::damaged("it ends too early");
  std::string bytes(length, '\0');
  read(offset, bytes);
  return bytes;
}

}  // namespace quillon
