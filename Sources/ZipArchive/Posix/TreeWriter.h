#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <stop_token>
#include <string>
#include <vector>

#include "ZipArchive/ArchiveTree.h"
#include "ZipArchive/Posix/ArchiveContents.h"
#include "ZipArchive/Posix/ArchiveExtractor.h"
#include "ZipArchive/Posix/EntryReader.h"
#include "ZipArchive/ZipEntry.h"

namespace quillon {

/// Writes an archive's tree into an empty folder that nobody else can enter, in the order of its functions.
///
/// Every function throws QuillonSystemError, ZipArchiveError for damaged entries, and QuillonCancellationError once
/// `stop` was requested.
class TreeWriter {
 public:
  /// `contents` has to outlive the writer. `didFinishItem` is told of every item when it is complete. Each thread
  /// inflates files of up to `wholeLimit` bytes in memory.
  TreeWriter(const ArchiveContents& contents, int root, std::stop_token stop, ExtractedItemHandler didFinishItem = {},
             std::uint64_t wholeLimit = usualWholeLimit());

  /// What fits into memory for as many threads as this machine has processors.
  [[nodiscard]] static std::uint64_t usualWholeLimit() noexcept;

  void makeFolders();
  /// All files, with attributes, permissions and times, on several threads.
  void writeFiles();
  void makeLinks();
  /// Attributes, permissions and times of folders, which the steps before would change. The user can still enter and
  /// change all of them: otherwise some could not be moved.
  void finishFolders();
  /// Takes from the user what the archive's permissions deny. To be called when the folders have been moved to below
  /// `destination`, and the user can still enter those that were there before.
  void restrictFolders(int destination) const;

 private:
  /// Files of one folder that one thread writes.
  struct Batch {
    std::size_t folder = 0;
    std::vector<std::size_t> items;
    std::uint64_t size = 0;
  };
  /// A folder whose permissions deny something to the user.
  struct RestrictedFolder {
    std::size_t item;
    ino_t inode;
    mode_t permissions;
  };

  void makeFoldersIn(std::size_t item, int folder);
  void finishFolder(std::size_t item, int folder, EntryReader& reader);
  [[nodiscard]] std::vector<Batch> batches(bool withLargeAttributes) const;
  void writeOnAllThreads(const std::vector<Batch>& work) const;
  void writeBatch(const Batch& batch, EntryReader& reader) const;
  void writeFile(const ArchiveItem& item, int folder, EntryReader& reader) const;
  void writeContent(const ZipEntry& entry, int file, EntryReader& reader) const;
  void restoreAttributes(const ArchiveItem& item, int descriptor, EntryReader& reader) const;
  [[nodiscard]] bool fitsIntoMemory(const ZipEntry& entry) const noexcept;
  [[nodiscard]] bool hasLargeAttributes(const ArchiveItem& item) const noexcept;
  void tellOf(std::size_t item) const;
  void throwIfStopped() const;

  const ArchiveContents& contents_;
  int root_;
  std::stop_token stop_;
  ExtractedItemHandler didFinishItem_;
  std::uint64_t wholeLimit_;
  std::vector<RestrictedFolder> restricted_;
};

}  // namespace quillon
