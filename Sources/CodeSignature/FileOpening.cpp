#include "CodeSignature/FileOpening.h"

#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW;

FileDescriptor openOrThrow(int folder, const std::string& path, int flags) {
  FileDescriptor descriptor(openat(folder, path.c_str(), flags));
  if (descriptor.get() < 0) throw QuillonSystemError::posix(errno, "open", path);
  return descriptor;
}

/// For kernels before 5.6 and sandboxes that do not let `openat2` through.
FileDescriptor openFolderByComponents(int folder, std::string_view path) {
  FileDescriptor current = openOrThrow(folder, ".", kFolderFlags);
  while (!path.empty()) {
    const std::size_t slash = std::min(path.find('/'), path.size());
    const std::string component(path.substr(0, slash));
    if (component == "..") throw QuillonSystemError::posix(EXDEV, "open", component);
    current = openOrThrow(current.get(), component, kFolderFlags);
    path.remove_prefix(std::min(slash + 1, path.size()));
  }
  return current;
}

}  // namespace

FileDescriptor openFolder(int folder, const std::string& path) {
  return openOrThrow(folder, path, kFolderFlags);
}

FileDescriptor openFolderBeneath(int folder, const std::string& path) {
  if (path.empty()) return openOrThrow(folder, ".", kFolderFlags);
  open_how how{};
  how.flags = static_cast<std::uint64_t>(kFolderFlags);
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
  const auto descriptor = syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how);
  if (descriptor >= 0) return FileDescriptor(static_cast<int>(descriptor));
  if (errno == ENOSYS || errno == EPERM) return openFolderByComponents(folder, path);
  throw QuillonSystemError::posix(errno, "open", path);
}

FileDescriptor openRegularFile(int folder, const std::string& name) {
  FileDescriptor file = openOrThrow(folder, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
  struct stat status {};
  if (fstat(file.get(), &status) != 0) throw QuillonSystemError::posix(errno, "open", name);
  if (S_ISDIR(status.st_mode)) throw QuillonSystemError::posix(EISDIR, "open", name);
  if (!S_ISREG(status.st_mode)) throw QuillonSystemError::posix(ENXIO, "open", name);
  return file;
}

std::uint64_t fileLength(const FileDescriptor& file) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0) throw QuillonSystemError::posix(errno, "examine", "a file");
  return static_cast<std::uint64_t>(status.st_size);
}

std::size_t readFileAt(const FileDescriptor& file, std::uint64_t offset, std::span<char> block) {
  while (true) {
    const ssize_t count = pread(file.get(), block.data(), block.size(), static_cast<off_t>(offset));
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) throw QuillonSystemError::posix(errno, "read", "a file");
  }
}

std::string readWholeFile(const FileDescriptor& file, std::size_t limit) {
  std::string content;
  std::array<char, 65536> block;
  while (true) {
    const ssize_t count = read(file.get(), block.data(), block.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw QuillonSystemError::posix(errno, "read", "a file");
    if (count == 0) return content;
    content.append(block.data(), static_cast<std::size_t>(count));
    if (content.size() > limit) throw QuillonSystemError::posix(EFBIG, "read", "a file");
  }
}

}  // namespace quillon
