#include "QuillonCore/Runtime/Posix/DirectoryEntries.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string_view>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

std::vector<DirectoryEntry> directoryEntries(int folder, const std::string& path) {
  struct Close {
    void operator()(DIR* stream) const noexcept { closedir(stream); }
  };
  // fdopendir takes its descriptor over, so it gets one of its own.
  FileDescriptor own(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!own) throw QuillonSystemError::posix(errno, "list", path);
  const std::unique_ptr<DIR, Close> stream(fdopendir(own.get()));
  if (!stream) throw QuillonSystemError::posix(errno, "list", path);
  (void)own.release();
  std::vector<DirectoryEntry> entries;
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(stream.get());  // NOLINT(concurrency-mt-unsafe): the stream is this call's own
    if (entry == nullptr) break;
    const std::string_view name(entry->d_name);
    if (name != "." && name != "..") {
      entries.push_back({.name = std::string(name), .type = static_cast<mode_t>(DTTOIF(entry->d_type))});
    }
  }
  if (errno != 0) throw QuillonSystemError::posix(errno, "list", path);
  return entries;
}

}  // namespace quillon
