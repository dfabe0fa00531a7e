#include "QuillonCore/Runtime/Posix/QuillonPosixTreeCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixTreeWalk.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

/// A copy never gains set-id rights. One that root makes lets nobody but its owner write, whatever the stager allowed.
mode_t copiedPermissions(mode_t mode) {
  return mode & (geteuid() == 0 ? 0755U : 01777U);
}

/// Files from this size on are compared with the free space first, rather than filling the volume (bytes).
constexpr off_t kLargeFile = off_t{64} << 20;

bool fits(off_t size, int folder) {
  struct statvfs volume {};
  if (size < kLargeFile || fstatvfs(folder, &volume) != 0) return true;
  return static_cast<std::uint64_t>(size) / volume.f_frsize <= volume.f_bavail;
}

/// As utimensat(2) takes them.
std::array<timespec, 2> timesOf(const struct stat& status) {
  const QuillonFileTimes times = fileTimes(status);
  return {times.access, times.modification};
}

class TreeCopier final : public QuillonPosixTreeVisitor {
 public:
  TreeCopier(int toFolder, const char* toName) : base_(toFolder), rootName_(toName) {}

  void enterDirectory(const QuillonPosixTreeItem& item) override {
    const int folder = target();
    const char* const name = targetName(item);
    if (mkdirat(folder, name, S_IRWXU) != 0) fail("create", folder, name);
    FileDescriptor made(openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!made) fail("open", folder, name);
    current_ = std::move(made);
    ++depth_;
  }

  void visitItem(const QuillonPosixTreeItem& item) override {
    if (S_ISREG(item.status->st_mode)) {
      copyFile(item);
    } else if (S_ISLNK(item.status->st_mode)) {
      copyLink(item);
    } else {
      throw QuillonSystemError::posix(EINVAL, "copy the special file", pathForMessages(item.folder, item.name));
    }
  }

  void leaveDirectory(const QuillonPosixTreeItem& item) override {
    const FileDescriptor source(openat(item.folder, item.name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!source) fail("open", item.folder, item.name);
    finish(source.get(), current_.get(), item);
    --depth_;
    if (depth_ == 0) return current_.reset();
    FileDescriptor parent(openat(current_.get(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!parent) fail("open", current_.get(), "..");
    current_ = std::move(parent);
  }

 private:
  [[noreturn]] static void fail(std::string_view action, int folder, const char* name) {
    const int code = errno;
    throw QuillonSystemError::posix(code, action, pathForMessages(folder, name));
  }

  [[nodiscard]] int target() const { return depth_ == 0 ? base_ : current_.get(); }
  [[nodiscard]] const char* targetName(const QuillonPosixTreeItem& item) const {
    return depth_ == 0 ? rootName_ : item.name;
  }

  void copyFile(const QuillonPosixTreeItem& item) {
    // Not blocking, in case a FIFO has taken the file's place since it was looked at.
    const FileDescriptor source(openat(item.folder, item.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat opened {};
    if (!source || fstat(source.get(), &opened) != 0) fail("open", item.folder, item.name);
    if (!S_ISREG(opened.st_mode)) {
      throw QuillonSystemError::posix(EINVAL, "copy", pathForMessages(item.folder, item.name));
    }
    const FileDescriptor copy(
        openat(target(), targetName(item), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!copy) fail("create", target(), targetName(item));
    if (!fits(opened.st_size, target())) {
      throw QuillonSystemError::posix(ENOSPC, "copy", pathForMessages(item.folder, item.name));
    }
    const auto size = static_cast<std::uint64_t>(opened.st_size);
    if (const int code = copyFileContents(source.get(), copy.get(), size); code != 0) {
      throw QuillonSystemError::posix(code, "copy", pathForMessages(item.folder, item.name));
    }
    finish(source.get(), copy.get(), item);
  }

  void copyLink(const QuillonPosixTreeItem& item) {
    std::array<char, PATH_MAX> text{};
    const ssize_t length = readlinkat(item.folder, item.name, text.data(), text.size() - 1);
    if (length < 0) fail("read the link", item.folder, item.name);
    if (symlinkat(text.data(), target(), targetName(item)) != 0) fail("create", target(), targetName(item));
    if (geteuid() == 0 &&
        fchownat(target(), targetName(item), item.status->st_uid, item.status->st_gid, AT_SYMLINK_NOFOLLOW) != 0) {
      fail("change the owner of", target(), targetName(item));
    }
    const auto times = timesOf(*item.status);
    if (utimensat(target(), targetName(item), times.data(), AT_SYMLINK_NOFOLLOW) != 0) {
      fail("set the times of", target(), targetName(item));
    }
  }

  /// Owner before mode, as a change of owner takes bits away; attributes before a mode that forbids writing; times
  /// last.
  void finish(int from, int to, const QuillonPosixTreeItem& item) const {
    const struct stat& status = *item.status;
    const auto times = timesOf(status);
    int code = 0;
    if (geteuid() == 0 && fchown(to, status.st_uid, status.st_gid) != 0) code = errno;
    if (code == 0) code = copyExtendedAttributes(from, to);
    if (code == 0 && fchmod(to, copiedPermissions(status.st_mode)) != 0) code = errno;
    if (code == 0 && futimens(to, times.data()) != 0) code = errno;
    if (code != 0) {
      throw QuillonSystemError::posix(code, "copy the attributes of", pathForMessages(item.folder, item.name));
    }
  }

  int base_;
  const char* rootName_;
  FileDescriptor current_;
  int depth_ = 0;
};

}  // namespace

void copyTree(int fromFolder, const char* fromName, int toFolder, const char* toName, std::string_view path) {
  TreeCopier copier(toFolder, toName);
  walkTree(fromFolder, fromName, path, copier);
  if (const int code = synchronizeVolume(toFolder); code != 0) {
    throw QuillonSystemError::posix(code, "flush the copy of", path);
  }
}

}  // namespace quillon
