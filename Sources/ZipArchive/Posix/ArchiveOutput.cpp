#include "ZipArchive/Posix/ArchiveOutput.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <cerrno>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonUUID.h"
#include "ZipArchive/Posix/FolderOpening.h"

namespace quillon {
namespace {

std::string temporaryPathFor(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
  return folder + ".quillon-ditto-" + makeUUIDString();
}

bool isSame(const struct stat& a, const struct stat& b) noexcept {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

ArchiveOutput::ArchiveOutput(const std::string& path) : path_(path), temporaryPath_(temporaryPathFor(path)) {
  if (stat(path.c_str(), &replaced_) != 0) replaced_ = {};
  // A device or a pipe would not be written to but replaced.
  if (replaced_.st_ino != 0 && !S_ISREG(replaced_.st_mode)) {
    throw QuillonSystemError::posix(S_ISDIR(replaced_.st_mode) ? EISDIR : EOPNOTSUPP, "replace", path);
  }
  file_ = FileDescriptor(open(temporaryPath_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
  if (!file_ || fstat(file_.get(), &own_) != 0) throw QuillonSystemError::posix(errno, "write", path);
}

ArchiveOutput::~ArchiveOutput() {
  if (!isPublished_) unlink(temporaryPath_.c_str());
}

void ArchiveOutput::append(std::string_view bytes) {
  writeAll(file_.get(), bytes, path_);
  length_ += bytes.size();
}

void ArchiveOutput::overwrite(std::uint64_t offset, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = pwrite(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw QuillonSystemError::posix(errno, "write", path_);
    bytes.remove_prefix(static_cast<std::size_t>(count));
    offset += static_cast<std::uint64_t>(count);
  }
}

bool ArchiveOutput::isItem(const struct stat& item) const noexcept {
  return isSame(item, own_) || (replaced_.st_ino != 0 && isSame(item, replaced_));
}

void ArchiveOutput::publish() {
  if (fsync(file_.get()) != 0 || rename(temporaryPath_.c_str(), path_.c_str()) != 0) {
    throw QuillonSystemError::posix(errno, "write", path_);
  }
  isPublished_ = true;
}

}  // namespace quillon
