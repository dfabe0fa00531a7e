#include "ZipArchive/Posix/ExtractionStage.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/Posix/DirectoryEntries.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixTreeWalk.h"
#include "QuillonCore/Values/QuillonUUID.h"
#include "ZipArchive/Posix/FolderOpening.h"
#include "ZipArchive/Posix/TreeRemoval.h"
#include "ZipArchive/ZipArchiveError.h"

namespace quillon {
namespace {

/// Whether the user of this process may not list or change a folder that is the user's own.
bool isClosedToOwner(const struct stat& folder) noexcept {
  return folder.st_uid == geteuid() && (folder.st_mode & S_IRWXU) != S_IRWXU;
}

/// The move of a stage's items, which is taken back unless it is completed.
class Move {
 public:
  Move(int stage, int destination, const ArchiveFile& archive)
      : stage_(stage), destination_(destination), archive_(archive) {}
  ~Move() {
    while (!steps_.empty()) {
      takeBack(steps_.back());
      steps_.pop_back();
    }
  }
  Move(const Move&) = delete;
  Move& operator=(const Move&) = delete;

  void run(const std::function<void()>& finish) {
    moveItems(stage_, destination_, {});
    finish();
    // What stays of the steps is taken back at the end: folders that were opened are closed again.
    std::erase_if(steps_, [](const Step& step) { return step.kind != StepKind::openedFolder; });
  }

 private:
  enum class StepKind : std::uint8_t { moved, exchanged, openedFolder };
  struct Step {
    StepKind kind;
    /// Of the folder around the item, the same below stage and destination.
    std::string folder;
    std::string name;
    /// As the folder was that was opened.
    struct stat status {};
  };

  void moveItems(int from, int to, const std::string& path) {
    for (const DirectoryEntry& entry : directoryEntries(from, path)) moveItem(from, to, path, entry.name);
  }

  void moveItem(int from, int to, const std::string& path, const std::string& name) {
    if (renameWithoutReplacing(from, name.c_str(), to, name.c_str()) == 0) {
      steps_.push_back({StepKind::moved, path, name});
      return;
    }
    if (errno != EEXIST) throw QuillonSystemError::posix(errno, "move into place", pathForMessages(to, name));
    mergeItem(from, to, path, name);
  }

  void mergeItem(int from, int to, const std::string& path, const std::string& name) {
    struct stat staged {};
    struct stat existing {};
    if (fstatat(from, name.c_str(), &staged, AT_SYMLINK_NOFOLLOW) != 0 ||
        fstatat(to, name.c_str(), &existing, AT_SYMLINK_NOFOLLOW) != 0) {
      throw QuillonSystemError::posix(errno, "examine", pathForMessages(to, name));
    }
    const std::string itemPath = path.empty() ? name : path + "/" + name;
    if (archive_.isItem(existing.st_dev, existing.st_ino)) {
      throw ZipArchiveError::entry(itemPath, "would replace the archive itself");
    }
    if (S_ISDIR(staged.st_mode) != S_ISDIR(existing.st_mode)) {
      throw ZipArchiveError::entry(
          itemPath, S_ISDIR(existing.st_mode) ? "would replace a folder" : "is a folder and would replace a file");
    }
    if (S_ISDIR(staged.st_mode)) {
      if (isClosedToOwner(existing)) openToOwner(to, path, name, existing);
      const FileDescriptor stagedFolder = openSubfolder(from, name);
      const FileDescriptor existingFolder = openSubfolder(to, name);
      moveItems(stagedFolder.get(), existingFolder.get(), itemPath);
    } else {
      exchange(from, to, path, name);
    }
  }

  /// The replaced item stays in the stage, so that it can go back.
  void exchange(int from, int to, const std::string& path, const std::string& name) {
    if (exchangeNames(from, name.c_str(), to, name.c_str()) != 0) {
      throw QuillonSystemError::posix(errno, "replace", pathForMessages(to, name));
    }
    steps_.push_back({StepKind::exchanged, path, name});
  }

  /// An earlier extraction made the folder as the archive wanted it; its owner can fill it up all the same.
  void openToOwner(int to, const std::string& path, const std::string& name, const struct stat& status) {
    if (fchmodat(to, name.c_str(), (status.st_mode & 07777U) | S_IRWXU, AT_SYMLINK_NOFOLLOW) != 0) {
      throw QuillonSystemError::posix(errno, "open", pathForMessages(to, name));
    }
    steps_.push_back({StepKind::openedFolder, path, name, status});
  }

  void takeBack(const Step& step) noexcept {
    try {
      const FileDescriptor from = openFolderBelow(destination_, step.folder);
      if (step.kind == StepKind::openedFolder) return close(from.get(), step);
      const FileDescriptor to = openFolderBelow(stage_, step.folder);
      const char* const name = step.name.c_str();
      (void)(step.kind == StepKind::exchanged ? exchangeNames(from.get(), name, to.get(), name)
                                              : renameWithoutReplacing(from.get(), name, to.get(), name));
    } catch (const std::exception&) {
      // Somebody else changes the destination meanwhile; the other items can still go back.
    }
  }

  /// Gives an opened folder its permissions back, unless another one has its name by now.
  static void close(int around, const Step& step) {
    const FileDescriptor folder = openSubfolder(around, step.name);
    struct stat status {};
    const bool isSame =
        fstat(folder.get(), &status) == 0 && status.st_dev == step.status.st_dev && status.st_ino == step.status.st_ino;
    if (isSame) (void)fchmod(folder.get(), step.status.st_mode & 07777U);
  }

  static int exchangeNames(int from, const char* fromName, int to, const char* toName) noexcept {
    return renameat2(from, fromName, to, toName, RENAME_EXCHANGE);
  }

  int stage_;
  int destination_;
  const ArchiveFile& archive_;
  std::vector<Step> steps_;
};

/// A folder, not through a link; none, with errno, when it cannot be opened.
FileDescriptor openedFolder(int around, const std::string& name) {
  return FileDescriptor(openat(around, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

/// Locks an open folder for this process, until it is closed. False, with errno, when that fails.
bool lock(int folder) noexcept {
  return flock(folder, LOCK_EX | LOCK_NB) == 0;
}

bool isOwn(int folder) noexcept {
  struct stat status {};
  return fstat(folder, &status) == 0 && status.st_uid == geteuid();
}

/// Whether an open folder is what `name` in `around` stands for.
bool hasName(int folder, int around, const std::string& name) noexcept {
  struct stat opened {};
  struct stat named {};
  return fstat(folder, &opened) == 0 && fstatat(around, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
         opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

void removeAbandonedStages(int destination) noexcept {
  try {
    for (const DirectoryEntry& entry : directoryEntries(destination, {})) {
      if (!entry.name.starts_with(ExtractionStage::kNamePrefix)) continue;
      const FileDescriptor folder = openedFolder(destination, entry.name);
      if (folder && isOwn(folder.get()) && lock(folder.get())) removeTree(destination, entry.name);
    }
  } catch (const std::exception&) {
    // What stays is out of sight, and does not keep anything from being unpacked.
  }
}

}  // namespace

ExtractionStage::ExtractionStage(int destination) : destination_(destination) {
  removeAbandonedStages(destination_);
  while (!make()) {
  }
}

bool ExtractionStage::make() {
  name_ = std::string(kNamePrefix) + makeUUIDString();
  if (mkdirat(destination_, name_.c_str(), 0700) != 0) {
    throw QuillonSystemError::posix(errno, "make a folder in", currentPathOfOpenDirectory(destination_));
  }
  folder_ = openedFolder(destination_, name_);
  if (!folder_ && errno != ENOENT) {
    const int code = errno;
    unlinkat(destination_, name_.c_str(), AT_REMOVEDIR);
    throw QuillonSystemError::posix(code, "open", pathForMessages(destination_, name_));
  }
  // On a volume without locks nobody else can lock it either.
  return folder_ && (lock(folder_.get()) || errno != EWOULDBLOCK) && hasName(folder_.get(), destination_, name_);
}

ExtractionStage::~ExtractionStage() {
  try {
    removeTree(destination_, name_);
  } catch (const std::exception&) {
    // What cannot be removed is out of sight; there is nobody left to tell.
  }
}

void ExtractionStage::moveIntoDestination(const ArchiveFile& archive, const std::function<void()>& finish) {
  Move(folder_.get(), destination_, archive).run(finish);
}

}  // namespace quillon
