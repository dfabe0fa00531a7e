#include "ZipArchive/Posix/FolderOpening.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "QuillonCore/Runtime/Posix/QuillonPosixTreeWalk.h"
#include "QuillonCore/Values/QuillonError.h"
#include "ZipArchive/ZipEntryName.h"

namespace quillon {

FileDescriptor openSubfolder(int folder, const std::string& name) {
  FileDescriptor opened(openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!opened) throw QuillonSystemError::posix(errno, "open", pathForMessages(folder, name));
  return opened;
}

FileDescriptor openFolderBelow(int folder, std::string_view path) {
  FileDescriptor opened(fcntl(folder, F_DUPFD_CLOEXEC, 0));
  if (!opened) throw QuillonSystemError::posix(errno, "open", pathForMessages(folder, path));
  for (const std::string_view name : pathComponents(path)) opened = openSubfolder(opened.get(), std::string(name));
  return opened;
}

void writeAll(int file, std::string_view bytes, std::string_view name) {
  while (!bytes.empty()) {
    const ssize_t count = write(file, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw QuillonSystemError::posix(errno, "write", name);
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace quillon
