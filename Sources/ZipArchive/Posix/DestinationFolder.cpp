#include "ZipArchive/Posix/DestinationFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

DestinationFolder::DestinationFolder(std::string path) : path_(std::move(path)) {
  if (path_.empty()) throw QuillonSystemError::posix(ENOENT, "open", "the destination");
  try {
    makeMissingFolders();
    // The path is the caller's own choice, links in it included.
    folder_ = FileDescriptor(open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder_) throw QuillonSystemError::posix(errno, "open", path_);
  } catch (...) {
    removeMadeFolders();
    throw;
  }
}

DestinationFolder::~DestinationFolder() {
  removeMadeFolders();
}

void DestinationFolder::makeMissingFolders() {
  for (std::size_t end = path_.find('/', 1);; end = path_.find('/', end + 1)) {
    std::string prefix = path_.substr(0, end);
    if (mkdir(prefix.c_str(), 0777) == 0) {
      made_.push_back(std::move(prefix));
    } else if (errno != EEXIST && end == std::string::npos) {
      throw QuillonSystemError::posix(errno, "make", path_);
    }
    // Other failures on the way show when the destination is opened.
    if (end == std::string::npos) return;
  }
}

void DestinationFolder::removeMadeFolders() noexcept {
  // A folder in which somebody else put something meanwhile stays.
  while (!made_.empty() && rmdir(made_.back().c_str()) == 0) made_.pop_back();
  made_.clear();
}

}  // namespace quillon
