#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdio>
#include <string_view>
#include <system_error>

#include "QuillonCore/Runtime/Posix/BufferedFileCopy.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"

namespace quillon {
namespace {

// Linux has no attribute names without a namespace; "user." is the one that users may set.
constexpr const char* kQuarantineAttribute = "user.com.apple.quarantine";

// removexattrat(2), which the C library's headers do not name yet; the number is the same on every architecture
// (<asm-generic/unistd.h> of Linux 6.13).
constexpr long kRemoveXAttrAt = 466;

/// Attributes that describe the file itself. Those of security modules belong to the place, not to the file, and access
/// lists that a user made give nobody rights to what root installs.
bool attributeTravels(std::string_view name) {
  if (name.starts_with("user.")) return true;
  return geteuid() != 0 && (name == "system.posix_acl_access" || name == "system.posix_acl_default");
}

}  // namespace

std::string pathOfOpenDirectory(int descriptor) {
  return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(descriptor);
}

bool otherProgramsTakePathsOfOpenDirectories() noexcept {
  return true;
}

std::string currentPathOfOpenDirectory(int descriptor) {
  std::array<char, PATH_MAX> target{};
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t length = readlink(link.c_str(), target.data(), target.size());
  return length > 0 ? std::string(target.data(), static_cast<std::size_t>(length)) : std::string("…");
}

std::optional<QuillonOpenDirectoryPath> openDirectoryInPath(std::string_view path) noexcept {
  std::array<char, 64> prefix{};
  const int length = std::snprintf(prefix.data(), prefix.size(), "/proc/%d/fd/", getpid());
  const std::string_view own(prefix.data(), static_cast<std::size_t>(length));
  if (!path.starts_with(own)) return std::nullopt;
  path.remove_prefix(own.size());
  QuillonOpenDirectoryPath result{.descriptor = -1, .rest = {}};
  const auto [end, error] = std::from_chars(path.data(), path.data() + path.size(), result.descriptor);
  if (error != std::errc{} || result.descriptor < 0) return std::nullopt;
  result.rest = path.substr(static_cast<std::size_t>(end - path.data()));
  if (!result.rest.empty() && !result.rest.starts_with('/')) return std::nullopt;
  return result;
}

int renameWithoutReplacing(int fromFolder, const char* fromName, int toFolder, const char* toName) noexcept {
  if (renameat2(fromFolder, fromName, toFolder, toName, RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return -1;
  // A file system without the flag: look first. rename(2) itself never replaces a folder that is not empty.
  struct stat existing {};
  if (fstatat(toFolder, toName, &existing, AT_SYMLINK_NOFOLLOW) == 0) {
    errno = EEXIST;
    return -1;
  }
  return renameat(fromFolder, fromName, toFolder, toName);
}

QuillonFileTimes fileTimes(const struct stat& status) noexcept {
  return {.access = status.st_atim, .modification = status.st_mtim, .change = status.st_ctim};
}

int changeOwnerOfItem(int folder, const char* name, uid_t user, gid_t group) noexcept {
  return fchownat(folder, name, user, group, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

int restrictToMode(int /*folder*/) noexcept {
  return 0;  // the mode with which a folder is made is the mask of what it inherits
}

int removeQuarantineMark(int folder, const char* name, bool isFileOrDirectory) noexcept {
  if (!isFileOrDirectory) return 0;  // links and special files hold no user attributes
  // One call where the kernel has it (6.13). Any failure but the usual one is left to the older calls, which tell more.
  if (syscall(kRemoveXAttrAt, folder, name, AT_SYMLINK_NOFOLLOW, kQuarantineAttribute) == 0) return 0;
  if (errno == ENODATA) return 0;
  std::array<char, 512> path{};
  const int length = std::snprintf(path.data(), path.size(), "/proc/self/fd/%d/%s", folder, name);
  if (length < 0 || static_cast<std::size_t>(length) >= path.size()) return ENAMETOOLONG;
  if (lremovexattr(path.data(), kQuarantineAttribute) == 0) return 0;
  const int error = errno;
  // Permission is looked at before the mark is: an item without one has nothing to take off.
  const bool mayHaveNone = error == EACCES || error == EPERM;
  if (mayHaveNone && lgetxattr(path.data(), kQuarantineAttribute, nullptr, 0) < 0 && errno == ENODATA) return 0;
  return error == ENODATA || error == ENOTSUP || error == ENOENT ? 0 : error;
}

int copyExtendedAttributes(int from, int to) noexcept {
  std::array<char, 65536> names{};  // XATTR_LIST_MAX
  const ssize_t length = flistxattr(from, names.data(), names.size());
  if (length < 0) return errno == ENOTSUP ? 0 : errno;
  std::array<char, 65536> value{};  // XATTR_SIZE_MAX
  for (ssize_t position = 0; position < length;) {
    const std::string_view name(names.data() + position);
    position += static_cast<ssize_t>(name.size()) + 1;
    if (!attributeTravels(name)) continue;
    const ssize_t size = fgetxattr(from, name.data(), value.data(), value.size());
    if (size < 0) return errno;
    if (fsetxattr(to, name.data(), value.data(), static_cast<std::size_t>(size), 0) != 0 && errno != ENOTSUP) {
      return errno;
    }
  }
  return 0;
}

int copyFileContents(int from, int to, std::uint64_t size) noexcept {
  static constexpr std::uint64_t kStep = std::uint64_t{1} << 30;
  bool copiedAny = false;
  while (size > 0) {
    const auto step = static_cast<std::size_t>(std::min(kStep, size));
    const ssize_t count = copy_file_range(from, nullptr, to, nullptr, step, 0);
    if (count == 0 && copiedAny) return 0;
    if (count > 0) {
      copiedAny = true;
      size -= static_cast<std::uint64_t>(count);
    } else if (count == 0 || (!copiedAny && (errno == EXDEV || errno == EINVAL || errno == EOPNOTSUPP ||
                                             errno == ENOSYS || errno == EPERM))) {
      // Also for an answer of nothing at once: some virtual file systems claim to be empty.
      return copyThroughBuffer(from, to, size);
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

int synchronizeVolume(int folder) noexcept {
  return syncfs(folder) == 0 ? 0 : errno;
}

}  // namespace quillon
