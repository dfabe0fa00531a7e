#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "ZipArchive/Posix/ArchiveMaker.h"

namespace quillon {

/// An item that goes into an archive.
struct SourceItem {
  /// Below the folder that the tree is open at.
  std::string path;
  /// Its name in the archive, without "/" at the end.
  std::string archiveName;
  struct stat status {};
};

/// What an archive is made of.
struct SourceTree {
  /// The folder that the items' paths begin at.
  FileDescriptor folder;
  /// Whether that folder is the source, and not the one around it.
  bool isFolderSource = false;
  /// Folders before what they hold, names in the order of their bytes.
  std::vector<SourceItem> items;
};

/// Lists `source`, following no link in it. Throws QuillonSystemError, and ZipArchiveError for special files and for
/// names that an archive cannot hold or that macOS would not keep apart.
[[nodiscard]] SourceTree readSourceTree(const std::string& source, ArchiveRoot root);

}  // namespace quillon
