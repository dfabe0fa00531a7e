#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace quillon {

/// A name in a folder.
struct DirectoryEntry {
  std::string name;
  /// The type bits of `st_mode`; 0 where the file system does not tell.
  mode_t type = 0;
};

/// What is in the folder open as `folder`, in the file system's order, without "." and "..". Throws QuillonSystemError.
[[nodiscard]] std::vector<DirectoryEntry> directoryEntries(int folder, const std::string& path);

}  // namespace quillon
