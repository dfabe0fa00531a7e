#include "QuillonCore/Runtime/Posix/QuillonPosixTreeWalk.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/Posix/DirectoryEntries.h"
#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

bool sameItem(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// A folder whose items are being visited.
struct Level {
  std::string name;
  struct stat status {};
  std::vector<DirectoryEntry> entries;
  std::size_t next = 0;
};

class Walk {
 public:
  Walk(int folder, std::string_view path, QuillonPosixTreeVisitor& visitor)
      : base_(folder), path_(path), visitor_(visitor) {}

  void run(const char* name) {
    struct stat status {};
    if (fstatat(base_, name, &status, AT_SYMLINK_NOFOLLOW) != 0) throw QuillonSystemError::posix(errno, "visit", path_);
    meet(base_, name, status);
    while (!levels_.empty()) {
      if (levels_.back().next == levels_.back().entries.size()) {
        ascend();
      } else {
        visitNext();
      }
    }
  }

 private:
  void meet(int folder, const std::string& name, const struct stat& status) {
    if (S_ISDIR(status.st_mode)) {
      visitor_.enterDirectory({folder, name.c_str(), &status});
      descend(folder, name, status);
    } else {
      visitor_.visitItem({folder, name.c_str(), &status});
    }
  }

  void visitNext() {
    Level& level = levels_.back();
    const auto [name, type] = std::move(level.entries[level.next++]);
    struct stat status {};
    if (type != 0 && type != S_IFDIR && !visitor_.needsStatus()) {
      status.st_mode = type;
      return visitor_.visitItem({current_.get(), name.c_str(), &status});
    }
    if (fstatat(current_.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
      if (errno == ENOENT) return;
      throw QuillonSystemError::posix(errno, "visit", pathForMessages(current_.get(), name));
    }
    meet(current_.get(), name, status);
  }

  void descend(int folder, const std::string& name, const struct stat& status) {
    FileDescriptor opened(openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!opened) {
      const int code = errno;
      if (visitor_.passOverUnopenableDirectory({folder, name.c_str(), &status}, code)) return;
      throw QuillonSystemError::posix(code, "open", pathForMessages(folder, name));
    }
    struct stat found {};
    if (fstat(opened.get(), &found) != 0 || !sameItem(found, status)) {
      throw QuillonSystemError::posix(ESTALE, "visit", pathForMessages(folder, name));
    }
    Level level{name, status, directoryEntries(opened.get(), name), 0};
    levels_.push_back(std::move(level));
    current_ = std::move(opened);
  }

  void ascend() {
    const Level done = std::move(levels_.back());
    levels_.pop_back();
    int around = base_;
    if (!levels_.empty()) {
      FileDescriptor parent(openat(current_.get(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
      struct stat found {};
      if (!parent || fstat(parent.get(), &found) != 0 || !sameItem(found, levels_.back().status)) {
        throw QuillonSystemError::posix(ESTALE, "visit", path_);
      }
      current_ = std::move(parent);
      around = current_.get();
    } else {
      current_.reset();
    }
    visitor_.leaveDirectory({around, done.name.c_str(), &done.status});
  }

  int base_;
  std::string_view path_;
  QuillonPosixTreeVisitor& visitor_;
  FileDescriptor current_;
  std::vector<Level> levels_;
};

}  // namespace

void walkTree(int folder, const char* name, std::string_view path, QuillonPosixTreeVisitor& visitor) {
  Walk(folder, path, visitor).run(name);
}

std::string pathForMessages(int folder, std::string_view name) {
  return currentPathOfOpenDirectory(folder).append("/").append(name);
}

}  // namespace quillon
