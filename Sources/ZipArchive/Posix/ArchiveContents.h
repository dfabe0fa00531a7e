#pragma once

#include <cstddef>
#include <stop_token>
#include <string>
#include <vector>

#include "ZipArchive/ArchiveTree.h"
#include "ZipArchive/Posix/ArchiveFile.h"
#include "ZipArchive/ZipArchiveLimits.h"
#include "ZipArchive/ZipEntry.h"

namespace quillon {

/// Where a symbolic link leads.
struct LinkTarget {
  /// Index of the link in the tree.
  std::size_t item;
  std::string target;
};

/// An archive that can be unpacked unless the data of its files or attributes is damaged.
struct ArchiveContents {
  ArchiveFile archive;
  std::vector<ZipEntry> entries;
  ArchiveTree tree;
  /// Of every link, in the tree's order.
  std::vector<LinkTarget> linkTargets;
};

/// Reads everything of an archive but the data of files and attributes. Throws ZipArchiveError for what is refused,
/// QuillonSystemError, and QuillonCancellationError on `stop`.
[[nodiscard]] ArchiveContents readArchiveContents(const std::string& path, const ZipArchiveLimits& limits,
                                                  const std::stop_token& stop);

}  // namespace quillon
