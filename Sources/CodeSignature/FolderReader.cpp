#include "CodeSignature/FolderReader.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <memory>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

struct StreamDeleter {
  void operator()(DIR* stream) const noexcept { closedir(stream); }
};

FolderEntryKind kindOfMode(mode_t mode) {
  if (S_ISREG(mode)) return FolderEntryKind::file;
  if (S_ISDIR(mode)) return FolderEntryKind::folder;
  return S_ISLNK(mode) ? FolderEntryKind::link : FolderEntryKind::other;
}

FolderEntryKind kindOf(int folder, const dirent& entry) {
  switch (entry.d_type) {
    case DT_REG:
      return FolderEntryKind::file;
    case DT_DIR:
      return FolderEntryKind::folder;
    case DT_LNK:
      return FolderEntryKind::link;
    case DT_UNKNOWN:
      break;
    default:
      return FolderEntryKind::other;
  }
  struct stat status {};
  if (fstatat(folder, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    throw QuillonSystemError::posix(errno, "examine", entry.d_name);
  }
  return kindOfMode(status.st_mode);
}

}  // namespace

std::vector<FolderEntry> readFolder(const FileDescriptor& folder) {
  // The stream closes its descriptor and has a position: it gets one of its own.
  FileDescriptor own = openFolder(folder.get(), ".");
  const std::unique_ptr<DIR, StreamDeleter> stream(fdopendir(own.get()));
  if (!stream) throw QuillonSystemError::posix(errno, "read", "a folder");
  (void)own.release();
  std::vector<FolderEntry> entries;
  while (true) {
    errno = 0;
    const dirent* entry = readdir(stream.get());
    if (entry == nullptr) break;
    std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    entries.push_back({.name = std::move(name), .kind = kindOf(folder.get(), *entry)});
  }
  if (errno != 0) throw QuillonSystemError::posix(errno, "read", "a folder");
  std::ranges::sort(entries, {}, &FolderEntry::name);
  return entries;
}

std::string readLink(int folder, const std::string& name) {
  std::array<char, PATH_MAX> buffer;
  const ssize_t length = readlinkat(folder, name.c_str(), buffer.data(), buffer.size());
  if (length < 0) throw QuillonSystemError::posix(errno, "read the link", name);
  return {buffer.data(), static_cast<std::size_t>(length)};
}

}  // namespace quillon
