#include <fcntl.h>
#include <linux/magic.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"

namespace quillon {
namespace {

// Linux has no attribute names without a namespace; "user." is the one that users may set.
constexpr const char* kQuarantineAttribute = "user.com.apple.quarantine";

/// Attributes that describe the file itself. Those of security modules belong to the place, not to the file.
bool attributeTravels(std::string_view name) {
  return name.starts_with("user.") || name == "system.posix_acl_access" || name == "system.posix_acl_default";
}

/// Reads and writes where the kernel cannot copy between the two files.
int copyThroughBuffer(int from, int to) noexcept {
  static constexpr std::size_t kBlock = std::size_t{128} * 1024;
  auto* const buffer = static_cast<char*>(std::malloc(kBlock));
  if (buffer == nullptr) return ENOMEM;
  int error = 0;
  for (;;) {
    const ssize_t count = read(from, buffer, kBlock);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      error = count < 0 ? errno : 0;
      break;
    }
    for (ssize_t written = 0; written < count && error == 0;) {
      const ssize_t step = write(to, buffer + written, static_cast<std::size_t>(count - written));
      if (step >= 0) {
        written += step;
      } else if (errno != EINTR) {
        error = errno;
      }
    }
    if (error != 0) break;
  }
  std::free(buffer);
  return error;
}

}  // namespace

std::string pathOfOpenDirectory(int descriptor) {
  return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(descriptor);
}

std::string currentPathOfOpenDirectory(int descriptor) {
  std::array<char, PATH_MAX> target{};
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t length = readlink(link.c_str(), target.data(), target.size());
  return length > 0 ? std::string(target.data(), static_cast<std::size_t>(length)) : std::string("…");
}

bool holdsDescriptorLinks(int folder) noexcept {
  struct statfs volume {};
  return fstatfs(folder, &volume) == 0 && volume.f_type == PROC_SUPER_MAGIC;
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

int removeQuarantineMark(int folder, const char* name, bool isFileOrDirectory) noexcept {
  if (!isFileOrDirectory) return 0;  // links and special files hold no user attributes
  std::array<char, 512> path{};
  const int length = std::snprintf(path.data(), path.size(), "/proc/self/fd/%d/%s", folder, name);
  if (length < 0 || static_cast<std::size_t>(length) >= path.size()) return ENAMETOOLONG;
  if (lremovexattr(path.data(), kQuarantineAttribute) == 0) return 0;
  return errno == ENODATA || errno == ENOTSUP ? 0 : errno;
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

int copyFileContents(int from, int to) noexcept {
  static constexpr std::size_t kStep = std::size_t{1} << 30;
  bool copiedAny = false;
  for (;;) {
    const ssize_t count = copy_file_range(from, nullptr, to, nullptr, kStep, 0);
    if (count == 0 && copiedAny) return 0;
    if (count > 0) {
      copiedAny = true;
    } else if (count == 0 || (!copiedAny && (errno == EXDEV || errno == EINVAL || errno == EOPNOTSUPP ||
                                             errno == ENOSYS || errno == EPERM))) {
      // Also for an answer of nothing at once: some virtual file systems claim to be empty.
      return copyThroughBuffer(from, to);
    } else if (errno != EINTR) {
      return errno;
    }
  }
}

int synchronizeVolume(int folder) noexcept { return syncfs(folder) == 0 ? 0 : errno; }

std::vector<QuillonURL> systemApplicationSupportDirectories() {
  // A privileged process believes no variable that its caller may have set.
  const char* const data = secure_getenv("XDG_DATA_HOME");
  if (geteuid() != 0 && data != nullptr && data[0] == '/') return {QuillonURL::fileURL(data)};
  std::string home;
  const char* const variable = geteuid() == 0 ? nullptr : secure_getenv("HOME");
  if (variable != nullptr && variable[0] == '/') {
    home = variable;
  } else {
    passwd record{};
    passwd* found = nullptr;
    std::array<char, 16384> storage{};
    if (getpwuid_r(geteuid(), &record, storage.data(), storage.size(), &found) != 0 || found == nullptr) return {};
    home = found->pw_dir;
  }
  return {QuillonURL::fileURL(home).appendingPathComponent(".local/share")};
}

}  // namespace quillon
