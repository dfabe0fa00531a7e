#include <copyfile.h>
#include <fcntl.h>
#include <sys/acl.h>
#include <sys/param.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <memory>
#include <string_view>
#include <system_error>

#include "QuillonCore/Runtime/Posix/BufferedFileCopy.h"
#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"

namespace quillon {
namespace {

constexpr const char* kQuarantineAttribute = "com.apple.quarantine";

/// Begins a path of the form /.vol/<device>/<inode>, which the kernel leads to that item whatever it is called.
constexpr std::string_view kVolumePrefix = "/.vol/";

using PathBuffer = std::array<char, MAXPATHLEN>;

/// A path by device and inode; empty when the folder cannot be looked at.
std::string pathByInode(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return {};
  return std::string(kVolumePrefix) + std::to_string(status.st_dev) + "/" + std::to_string(status.st_ino);
}

bool leadsTo(const std::string& path, int descriptor) noexcept {
  struct stat named {};
  struct stat open {};
  return stat(path.c_str(), &named) == 0 && fstat(descriptor, &open) == 0 && named.st_dev == open.st_dev &&
         named.st_ino == open.st_ino;
}

/// Takes a decimal number off the front of `text`.
template <typename Integer>
bool takeNumber(std::string_view& text, Integer& number) noexcept {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{}) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

/// The folder of that device and inode that this process holds open; -1 for none.
int openFolderByInode(dev_t device, ino_t inode) noexcept {
  const int count = getdtablesize();
  for (int descriptor = 0; descriptor < count; ++descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || !S_ISDIR(status.st_mode)) continue;
    if (status.st_dev == device && status.st_ino == inode) return descriptor;
  }
  return -1;
}

}  // namespace

std::string pathOfOpenDirectory(int descriptor) {
  std::string path = pathByInode(descriptor);
  // Volumes without lookup by inode exist; there the name that the folder has at present has to do.
  return leadsTo(path, descriptor) ? path : currentPathOfOpenDirectory(descriptor);
}

bool otherProgramsTakePathsOfOpenDirectories() noexcept {
  // codesign(1) begins with realpath(3), which looks at every folder on the way and finds none at "/.vol/<device>".
  return false;
}

std::string currentPathOfOpenDirectory(int descriptor) {
  PathBuffer path{};
  return fcntl(descriptor, F_GETPATH, path.data()) == 0 ? std::string(path.data()) : std::string("…");
}

std::optional<QuillonOpenDirectoryPath> openDirectoryInPath(std::string_view path) noexcept {
  if (!path.starts_with(kVolumePrefix)) return std::nullopt;
  path.remove_prefix(kVolumePrefix.size());
  dev_t device = 0;
  ino_t inode = 0;
  if (!takeNumber(path, device) || !path.starts_with('/')) return std::nullopt;
  path.remove_prefix(1);
  if (!takeNumber(path, inode) || (!path.empty() && !path.starts_with('/'))) return std::nullopt;
  const int descriptor = openFolderByInode(device, inode);
  if (descriptor < 0) return std::nullopt;
  return QuillonOpenDirectoryPath{.descriptor = descriptor, .rest = path};
}

int renameWithoutReplacing(int fromFolder, const char* fromName, int toFolder, const char* toName) noexcept {
  if (renameatx_np(fromFolder, fromName, toFolder, toName, RENAME_EXCL) == 0) return 0;
  if (errno != ENOTSUP) return -1;
  // A file system without the flag: look first. rename(2) itself never replaces a folder that is not empty.
  struct stat existing {};
  if (fstatat(toFolder, toName, &existing, AT_SYMLINK_NOFOLLOW) == 0) {
    errno = EEXIST;
    return -1;
  }
  return renameat(fromFolder, fromName, toFolder, toName);
}

QuillonFileTimes fileTimes(const struct stat& status) noexcept {
  return {.access = status.st_atimespec, .modification = status.st_mtimespec, .change = status.st_ctimespec};
}

int changeOwnerOfItem(int folder, const char* name, uid_t user, gid_t group) noexcept {
  // O_SYMLINK opens a link itself; without O_NONBLOCK a FIFO would wait for somebody to write.
  const FileDescriptor item(openat(folder, name, O_RDONLY | O_SYMLINK | O_NONBLOCK | O_CLOEXEC));
  if (!item) return errno;
  return fchown(item.get(), user, group) == 0 ? 0 : errno;
}

int restrictToMode(int folder) noexcept {
  const std::unique_ptr<void, int (*)(void*)> nothing(acl_init(0), acl_free);
  if (!nothing) return errno;
  // A volume that keeps no access lists has inherited none.
  if (acl_set_fd_np(folder, static_cast<acl_t>(nothing.get()), ACL_TYPE_EXTENDED) == 0 || errno == ENOTSUP) return 0;
  return errno;
}

int removeQuarantineMark(int folder, const char* name, bool /*isFileOrDirectory*/) noexcept {
  // There is no call that takes a folder and a name.
  PathBuffer folderPath{};
  if (fcntl(folder, F_GETPATH, folderPath.data()) != 0) return errno;
  std::array<char, 2 * MAXPATHLEN> path{};
  const int length = std::snprintf(path.data(), path.size(), "%s/%s", folderPath.data(), name);
  if (length < 0 || static_cast<std::size_t>(length) >= path.size()) return ENAMETOOLONG;
  if (removexattr(path.data(), kQuarantineAttribute, XATTR_NOFOLLOW) == 0 || errno == ENOATTR) return 0;
  return errno;
}

int copyExtendedAttributes(int from, int to) noexcept {
  // Access lists that a user made give nobody rights to what root installs.
  const copyfile_flags_t what = geteuid() == 0 ? COPYFILE_XATTR : COPYFILE_XATTR | COPYFILE_ACL;
  if (fcopyfile(from, to, nullptr, what) == 0) return 0;
  // It goes on after an attribute that cannot be set, and says so at the end: com.apple.provenance is the system's own
  // (EPERM), and some volumes know no attributes. Of an attribute that mattered the signature of the copy will tell.
  return errno == EPERM || errno == ENOTSUP ? 0 : errno;
}

int copyFileContents(int from, int to, std::uint64_t size) noexcept {
  // Blocks are only shared by calls that make the copy themselves, and those know no size to stop at.
  return copyThroughBuffer(from, to, size);
}

int synchronizeVolume(int folder) noexcept {
  // The error number itself is returned, and errno left alone: sync_volume_np(3).
  const int code = fsync_volume_np(folder, SYNC_VOLUME_FULLSYNC | SYNC_VOLUME_WAIT);
  const bool cannotFlush = code == ENOTSUP || code == ENOTTY || code == EINVAL;
  return cannotFlush ? 0 : code;
}

}  // namespace quillon
