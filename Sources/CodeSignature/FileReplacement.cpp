#include "CodeSignature/FileReplacement.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <random>
#include <string_view>
#include <utility>

#include "CodeSignature/CodeHash.h"
#include "CodeSignature/FolderReader.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

constexpr std::string_view kUnfinishedPrefix = "_CodeSignature-unfinished-";
constexpr mode_t kPermissions = 07777;

std::string randomName() {
  std::random_device device;
  std::array<char, 8> bytes;
  for (char& byte : bytes) byte = static_cast<char>(device() & 0xFF);
  return std::string(kUnfinishedPrefix) + hexadecimal({bytes.data(), bytes.size()});
}

FileDescriptor duplicate(const FileDescriptor& folder) {
  FileDescriptor copy(fcntl(folder.get(), F_DUPFD_CLOEXEC, 0));
  if (!copy) throw QuillonSystemError::posix(errno, "open", "a folder");
  return copy;
}

struct stat statusOf(const FileDescriptor& file, const std::string& name) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0) throw QuillonSystemError::posix(errno, "examine", name);
  return status;
}

/// Owner before permissions, as a change of owner takes bits away.
int copyAttributes(const struct stat& original, int from, const struct stat& current, int to) {
  const bool isOwnedAlike = original.st_uid == current.st_uid && original.st_gid == current.st_gid;
  if (!isOwnedAlike && fchown(to, original.st_uid, original.st_gid) != 0) return errno;
  if (const int error = copyExtendedAttributes(from, to); error != 0) return error;
  return fchmod(to, original.st_mode & kPermissions) == 0 ? 0 : errno;
}

bool exchange(const FileDescriptor& folder, const std::string& one, const std::string& other) {
  return renameat2(folder.get(), one.c_str(), folder.get(), other.c_str(), RENAME_EXCHANGE) == 0;
}

}  // namespace

FileReplacement::FileReplacement(const FileDescriptor& folder, std::string name)
    : folder_(duplicate(folder)), name_(std::move(name)), temporaryName_(randomName()) {
  constexpr mode_t kOwnerOnly = 0600;
  file_ = FileDescriptor(
      openat(folder_.get(), temporaryName_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kOwnerOnly));
  if (!file_) {
    const int error = errno;
    temporaryName_.clear();
    throw QuillonSystemError::posix(error, "create a file beside", name_);
  }
}

FileReplacement::~FileReplacement() {
  if (temporaryName_.empty()) return;
  if (isInstalled_ && !isKept_ && !exchange(folder_, temporaryName_, name_)) return;
  // Should this fail, the next signing removes it.
  (void)unlinkat(folder_.get(), temporaryName_.c_str(), 0);
}

void FileReplacement::install(const FileDescriptor& original) {
  const int error = copyAttributes(statusOf(original, name_), original.get(), statusOf(file_, name_), file_.get());
  if (error != 0) throw QuillonSystemError::posix(error, "copy the attributes of", name_);
  if (fsync(file_.get()) != 0) throw QuillonSystemError::posix(errno, "write", name_);
  if (!exchange(folder_, temporaryName_, name_)) throw QuillonSystemError::posix(errno, "replace", name_);
  isInstalled_ = true;
}

bool isUnfinishedReplacement(std::string_view name) noexcept {
  return name.starts_with(kUnfinishedPrefix);
}

void removeUnfinishedReplacements(const FileDescriptor& folder) {
  for (const FolderEntry& entry : readFolder(folder)) {
    if (!isUnfinishedReplacement(entry.name)) continue;
    if (unlinkat(folder.get(), entry.name.c_str(), 0) != 0 && errno != ENOENT && errno != EISDIR) {
      throw QuillonSystemError::posix(errno, "remove", entry.name);
    }
  }
}

}  // namespace quillon
