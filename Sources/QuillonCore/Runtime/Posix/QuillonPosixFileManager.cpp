#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <utility>

#include "QuillonCore/Runtime/Posix/DirectoryEntries.h"
#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixPath.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixTreeCopy.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixTreeWalk.h"
#include "QuillonCore/Runtime/Posix/WriteSignalShield.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonUUID.h"

namespace quillon {
namespace {

constexpr mode_t kFolderMode = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;
constexpr mode_t kFileMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;

bool isPrivileged() noexcept {
  return geteuid() == 0;
}

QuillonFileType typeOf(mode_t mode) noexcept {
  if (S_ISREG(mode)) return QuillonFileType::regular;
  if (S_ISDIR(mode)) return QuillonFileType::directory;
  if (S_ISLNK(mode)) return QuillonFileType::symbolicLink;
  return QuillonFileType::other;
}

std::int64_t changeTimeOf(const struct stat& status) noexcept {
  const timespec time = fileTimes(status).change;
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

QuillonFileStatus statusOf(const struct stat& status) noexcept {
  return {
      .type = typeOf(status.st_mode),
      .identity = {.device = static_cast<std::uint64_t>(status.st_dev), .inode = status.st_ino},
      .userIdentifier = status.st_uid,
      .groupIdentifier = status.st_gid,
      .permissions = status.st_mode & 07777U,
      .linkCount = status.st_nlink,
      .size = static_cast<std::uint64_t>(status.st_size),
      .changeTimeNanoseconds = changeTimeOf(status),
  };
}

[[noreturn]] void fail(std::string_view action, const QuillonURL& item) {
  const int code = errno;
  throw QuillonSystemError::posix(code, action, item.path());
}

/// `path` by names, also where it begins with a folder that is held open: not every realpath(3) knows such paths.
std::string ordinaryPath(const std::string& path) {
  const auto held = openDirectoryInPath(path);
  if (!held) return path;
  std::string folder = currentPathOfOpenDirectory(held->descriptor);
  return folder.starts_with('/') ? folder.append(held->rest) : path;
}

struct OpenFile {
  FileDescriptor descriptor;
  struct stat status {};
};

/// Opens a regular file and nothing else; never blocks on a FIFO.
OpenFile openRegularFile(const QuillonURL& file, std::string_view action) {
  const QuillonPosixPlace place = openPlace(file, action);
  OpenFile opened;
  opened.descriptor =
      FileDescriptor(openat(place.folder.get(), place.name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!opened.descriptor || fstat(opened.descriptor.get(), &opened.status) != 0) fail(action, file);
  if (!S_ISREG(opened.status.st_mode)) {
    throw QuillonSystemError::posix(S_ISDIR(opened.status.st_mode) ? EISDIR : EINVAL, action, file.path());
  }
  return opened;
}

std::string readUpTo(int descriptor, std::size_t limit, const QuillonURL& file) {
  std::string bytes;
  std::array<char, 65536> block{};
  for (;;) {
    const ssize_t count = read(descriptor, block.data(), block.size());
    if (count == 0) return bytes;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail("read", file);
    if (bytes.size() + static_cast<std::size_t>(count) > limit) {
      throw QuillonSystemError::posix(EFBIG, "read", file.path());
    }
    bytes.append(block.data(), static_cast<std::size_t>(count));
  }
}

void writeAll(int descriptor, std::string_view bytes, const QuillonURL& file) {
  const WriteSignalShield shield;
  while (!bytes.empty()) {
    const ssize_t count = write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail("write", file);
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

void synchronize(int descriptor, const QuillonURL& item) {
  // Volumes that cannot flush say EINVAL, and network volumes of macOS ENOTSUP of a folder; there is nothing more to do
  // for them.
  if (fsync(descriptor) != 0 && errno != EINVAL && errno != ENOTSUP) fail("flush", item);
}

class PinnedDirectory final : public QuillonPinnedDirectory {
 public:
  explicit PinnedDirectory(FileDescriptor descriptor)
      : descriptor_(std::move(descriptor)), url_(QuillonURL::fileURL(pathOfOpenDirectory(descriptor_.get()))) {}
  [[nodiscard]] const QuillonURL& url() const noexcept override { return url_; }

 private:
  FileDescriptor descriptor_;
  QuillonURL url_;
};

class RemovingVisitor final : public QuillonPosixTreeVisitor {
 public:
  void enterDirectory(const QuillonPosixTreeItem& item) override {
    if (!volume_) volume_ = item.status->st_dev;
    if (*volume_ != item.status->st_dev) {
      throw QuillonSystemError::posix(EXDEV, "remove another volume at", pathForMessages(item.folder, item.name));
    }
    if (isPrivileged() || (item.status->st_mode & S_IRWXU) == S_IRWXU || item.status->st_uid != geteuid()) return;
    // One's own folder that is closed has to be opened before it can be emptied.
    if (fchmodat(item.folder, item.name, (item.status->st_mode & 07777U) | S_IRWXU, 0) == 0) return;
    throw QuillonSystemError::posix(errno, "open for removal", pathForMessages(item.folder, item.name));
  }
  void visitItem(const QuillonPosixTreeItem& item) override { remove(item, 0); }
  void leaveDirectory(const QuillonPosixTreeItem& item) override { remove(item, AT_REMOVEDIR); }

 private:
  static void remove(const QuillonPosixTreeItem& item, int flags) {
    if (unlinkat(item.folder, item.name, flags) == 0 || errno == ENOENT) return;
    throw QuillonSystemError::posix(errno, "remove", pathForMessages(item.folder, item.name));
  }

  std::optional<dev_t> volume_;
};

class OwnerVisitor final : public QuillonPosixTreeVisitor {
 public:
  OwnerVisitor(uid_t user, gid_t group) : user_(user), group_(group) {}
  [[nodiscard]] bool needsStatus() const override { return false; }
  void enterDirectory(const QuillonPosixTreeItem& item) override { isRoot_ ? void(isRoot_ = false) : change(item); }
  void visitItem(const QuillonPosixTreeItem& item) override { change(item); }
  void leaveDirectory(const QuillonPosixTreeItem&) override {}

 private:
  void change(const QuillonPosixTreeItem& item) const {
    const int code = changeOwnerOfItem(item.folder, item.name, user_, group_);
    if (code == 0 || code == ENOENT) return;
    throw QuillonSystemError::posix(code, "change the owner of", pathForMessages(item.folder, item.name));
  }

  uid_t user_;
  gid_t group_;
  bool isRoot_ = true;
};

class QuarantineVisitor final : public QuillonPosixTreeVisitor {
 public:
  [[nodiscard]] bool needsStatus() const override { return false; }
  void enterDirectory(const QuillonPosixTreeItem& item) override { release(item); }
  void visitItem(const QuillonPosixTreeItem& item) override { release(item); }
  void leaveDirectory(const QuillonPosixTreeItem&) override {}
  bool passOverUnopenableDirectory(const QuillonPosixTreeItem& item, int code) override {
    note(item, code);
    return true;
  }

  std::optional<QuillonFileFailure> firstFailure;

 private:
  void release(const QuillonPosixTreeItem& item) {
    const bool canCarry = S_ISREG(item.status->st_mode) || S_ISDIR(item.status->st_mode);
    note(item, removeQuarantineMark(item.folder, item.name, canCarry));
  }
  void note(const QuillonPosixTreeItem& item, int code) {
    if (code == 0 || firstFailure) return;
    firstFailure = {.itemURL = QuillonURL::fileURL(pathForMessages(item.folder, item.name)), .code = code};
  }
};

void removeTree(const QuillonPosixPlace& place, const QuillonURL& item) {
  RemovingVisitor visitor;
  walkTree(place.folder.get(), place.name.c_str(), item.path(), visitor);
}

/// What a privileged process creates in a user's folder is the user's.
void handToOwnerOfFolder(int folder, const char* name, const QuillonURL& directory) {
  if (!isPrivileged()) return;
  struct stat around {};
  if (fstat(folder, &around) != 0 || fchownat(folder, name, around.st_uid, around.st_gid, AT_SYMLINK_NOFOLLOW) != 0) {
    fail("give away", directory);
  }
}

}  // namespace

std::optional<QuillonFileStatus> QuillonPosixFileManager::itemStatus(const QuillonURL& item) const {
  try {
    struct stat status {};
    if (item.path() == "/") {
      if (lstat("/", &status) != 0) fail("look at", item);
      return statusOf(status);
    }
    const QuillonPosixPlace place = openPlace(item, "look at");
    if (fstatat(place.folder.get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) fail("look at", item);
    return statusOf(status);
  } catch (const QuillonSystemError& error) {
    if (error.isPOSIX(ENOENT) || error.isPOSIX(ENOTDIR)) return std::nullopt;
    throw;
  }
}

bool QuillonPosixFileManager::fileExists(const QuillonURL& item) const noexcept {
  return access(item.path().c_str(), F_OK) == 0;
}

bool QuillonPosixFileManager::directoryExists(const QuillonURL& item) const noexcept {
  struct stat status {};
  return stat(item.path().c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool QuillonPosixFileManager::isExecutableFile(const QuillonURL& item) const noexcept {
  struct stat status {};
  const char* const path = item.path().c_str();
  return stat(path, &status) == 0 && S_ISREG(status.st_mode) && access(path, X_OK) == 0;
}

bool QuillonPosixFileManager::isWritableDirectory(const QuillonURL& item) const noexcept {
  return directoryExists(item) && access(item.path().c_str(), W_OK | X_OK) == 0;
}

std::string QuillonPosixFileManager::contentsOfFile(const QuillonURL& file, std::size_t limit) const {
  const OpenFile opened = openRegularFile(file, "read");
  return readUpTo(opened.descriptor.get(), limit, file);
}

std::vector<std::string> QuillonPosixFileManager::contentsOfDirectory(const QuillonURL& directory) const {
  const FileDescriptor folder = openDirectory(directory.path(), "list");
  std::vector<std::string> names;
  for (DirectoryEntry& entry : directoryEntries(folder.get(), directory.path())) {
    names.push_back(std::move(entry.name));
  }
  std::ranges::sort(names);
  return names;
}

QuillonURL QuillonPosixFileManager::resolvingSymbolicLinks(const QuillonURL& item) const {
  std::array<char, PATH_MAX> resolved{};
  if (realpath(ordinaryPath(item.path()).c_str(), resolved.data()) == nullptr) fail("resolve", item);
  return QuillonURL::fileURL(resolved.data());
}

std::string QuillonPosixFileManager::pathForOtherPrograms(const QuillonURL& item) const {
  return otherProgramsTakePathsOfOpenDirectories() ? item.path() : ordinaryPath(item.path());
}

std::unique_ptr<QuillonPinnedDirectory> QuillonPosixFileManager::pinDirectory(const QuillonURL& directory) const {
  if (directory.path() == "/") return std::make_unique<PinnedDirectory>(openDirectory("/", "open"));
  const QuillonPosixPlace place = openPlace(directory, "open");
  FileDescriptor opened(
      openat(place.folder.get(), place.name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!opened) fail("open", directory);
  return std::make_unique<PinnedDirectory>(std::move(opened));
}

std::uint32_t QuillonPosixFileManager::effectiveUserIdentifier() const noexcept {
  return geteuid();
}

QuillonURL QuillonPosixFileManager::temporaryDirectory() const {
  const char* const variable = isPrivileged() ? nullptr : std::getenv("TMPDIR");  // NOLINT(concurrency-mt-unsafe)
  return QuillonURL::fileURL(variable != nullptr && variable[0] == '/' ? variable : "/tmp");
}

std::vector<QuillonURL> QuillonPosixFileManager::applicationSupportDirectories() const {
  return systemApplicationSupportDirectories();
}

void QuillonPosixFileManager::createDirectory(const QuillonURL& directory) const {
  std::vector<std::string> missing;
  QuillonURL existing = directory;
  while (existing.path() != "/" && !itemStatus(existing)) {
    missing.emplace_back(existing.lastPathComponent());
    existing = existing.deletingLastPathComponent();
  }
  FileDescriptor folder = openDirectory(existing.path(), "create");  // a link to a folder serves, a file is an error
  for (auto name = missing.rbegin(); name != missing.rend(); ++name) {
    if (mkdirat(folder.get(), name->c_str(), kFolderMode) == 0) {
      handToOwnerOfFolder(folder.get(), name->c_str(), directory);
    } else if (errno != EEXIST) {
      fail("create", directory);
    }
    FileDescriptor next(openat(folder.get(), name->c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!next) fail("create", directory);
    folder = std::move(next);
  }
}

std::unique_ptr<QuillonPinnedDirectory> QuillonPosixFileManager::createPrivateDirectory(
    const QuillonURL& directory) const {
  const QuillonPosixPlace place = openPlace(directory, "create");
  if (mkdirat(place.folder.get(), place.name.c_str(), S_IRWXU) != 0) fail("create", directory);
  FileDescriptor made(openat(place.folder.get(), place.name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat status {};
  if (!made || fstat(made.get(), &status) != 0) fail("open", directory);
  if (status.st_uid != geteuid() || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    throw QuillonSystemError::posix(ESTALE, "create", directory.path());
  }
  if (const int code = restrictToMode(made.get()); code != 0) {
    throw QuillonSystemError::posix(code, "close to others", directory.path());
  }
  return std::make_unique<PinnedDirectory>(std::move(made));
}

void QuillonPosixFileManager::writeFileAtomically(const QuillonURL& file, std::string_view bytes) const {
  const QuillonPosixPlace place = openPlace(file, "write");
  const int folder = place.folder.get();
  const std::string scratch = ".vesk-write-" + makeUUIDString();
  FileDescriptor descriptor(
      openat(folder, scratch.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!descriptor) fail("write", file);
  try {
    writeAll(descriptor.get(), bytes, file);
    if (fchmod(descriptor.get(), kFileMode) != 0) fail("set the mode of", file);
    synchronize(descriptor.get(), file);
    struct stat existing {};
    if (fstatat(folder, place.name.c_str(), &existing, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(existing.st_mode)) {
      throw QuillonSystemError::posix(EISDIR, "write", file.path());
    }
    if (renameat(folder, scratch.c_str(), folder, place.name.c_str()) != 0) fail("write", file);
  } catch (...) {
    unlinkat(folder, scratch.c_str(), 0);
    throw;
  }
  synchronize(folder, file);
}

void QuillonPosixFileManager::createFile(const QuillonURL& file, std::string_view bytes) const {
  const QuillonPosixPlace place = openPlace(file, "create");
  const FileDescriptor descriptor(openat(place.folder.get(), place.name.c_str(),
                                         O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!descriptor) fail("create", file);
  try {
    writeAll(descriptor.get(), bytes, file);
  } catch (...) {
    unlinkat(place.folder.get(), place.name.c_str(), 0);
    throw;
  }
}

void QuillonPosixFileManager::moveItem(const QuillonURL& item, const QuillonURL& destination) const {
  const QuillonPosixPlace from = openPlace(item, "move");
  const QuillonPosixPlace to = openPlace(destination, "move to");
  if (renameWithoutReplacing(from.folder.get(), from.name.c_str(), to.folder.get(), to.name.c_str()) != 0) {
    fail("move " + item.path() + " to", destination);
  }
}

void QuillonPosixFileManager::copyItem(const QuillonURL& item, const QuillonURL& destination) const {
  const QuillonPosixPlace from = openPlace(item, "copy");
  const QuillonPosixPlace to = openPlace(destination, "copy to");
  struct stat existing {};
  if (fstatat(to.folder.get(), to.name.c_str(), &existing, AT_SYMLINK_NOFOLLOW) == 0) {
    throw QuillonSystemError::posix(EEXIST, "copy to", destination.path());
  }
  const WriteSignalShield shield;
  try {
    copyTree(from.folder.get(), from.name.c_str(), to.folder.get(), to.name.c_str(), item.path());
  } catch (...) {
    try {
      removeTree(to, destination);
    } catch (const QuillonError&) {  // NOLINT(bugprone-empty-catch): the copy's own failure is the one to report
    }
    throw;
  }
}

void QuillonPosixFileManager::removeItem(const QuillonURL& item) const {
  removeTree(openPlace(item, "remove"), item);
}

void QuillonPosixFileManager::removeEmptyDirectory(const QuillonURL& directory) const {
  const QuillonPosixPlace place = openPlace(directory, "remove");
  if (unlinkat(place.folder.get(), place.name.c_str(), AT_REMOVEDIR) != 0) fail("remove", directory);
}

void QuillonPosixFileManager::changeOwner(const QuillonURL& item, std::uint32_t userIdentifier,
                                          std::uint32_t groupIdentifier) const {
  const QuillonPosixPlace place = openPlace(item, "change the owner of");
  const int code = changeOwnerOfItem(place.folder.get(), place.name.c_str(), userIdentifier, groupIdentifier);
  if (code != 0) throw QuillonSystemError::posix(code, "change the owner of", item.path());
}

void QuillonPosixFileManager::changeOwnerOfDescendants(const QuillonURL& directory, std::uint32_t userIdentifier,
                                                       std::uint32_t groupIdentifier) const {
  const QuillonPosixPlace place = openPlace(directory, "change the owner below");
  OwnerVisitor visitor(userIdentifier, groupIdentifier);
  walkTree(place.folder.get(), place.name.c_str(), directory.path(), visitor);
}

bool QuillonPosixFileManager::changeOwnerOfFile(const QuillonURL& file, std::uint32_t userIdentifier,
                                                std::uint32_t groupIdentifier, std::size_t limit,
                                                bool (*mayBeChanged)(std::string_view bytes)) const {
  const OpenFile opened = openRegularFile(file, "change the owner of");
  if (opened.status.st_nlink != 1) return false;
  if (!mayBeChanged(readUpTo(opened.descriptor.get(), limit, file))) return false;
  if (fchown(opened.descriptor.get(), userIdentifier, groupIdentifier) != 0) fail("change the owner of", file);
  return true;
}

std::optional<QuillonFileFailure> QuillonPosixFileManager::releaseQuarantine(const QuillonURL& root) const {
  const QuillonPosixPlace place = openPlace(root, "release from quarantine");
  QuarantineVisitor visitor;
  try {
    walkTree(place.folder.get(), place.name.c_str(), root.path(), visitor);
  } catch (const QuillonSystemError& error) {
    // What failed before the walk ended is the first failure, and what ended it otherwise.
    if (!visitor.firstFailure) visitor.firstFailure = {.itemURL = root, .code = static_cast<int>(error.code())};
  }
  return visitor.firstFailure;
}

void QuillonPosixFileManager::synchronizeVolume(const QuillonURL& directory) const {
  const FileDescriptor folder = openDirectory(directory.path(), "flush");
  if (const int code = quillon::synchronizeVolume(folder.get()); code != 0) {
    throw QuillonSystemError::posix(code, "flush", directory.path());
  }
}

}  // namespace quillon
