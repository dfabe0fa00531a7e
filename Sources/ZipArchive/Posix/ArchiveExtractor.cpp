#include "ZipArchive/Posix/ArchiveExtractor.h"

#include <sys/stat.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/Posix/WriteSignalShield.h"
#include "ZipArchive/AppleDouble.h"
#include "ZipArchive/ArchiveTree.h"
#include "ZipArchive/Posix/ArchiveFile.h"
#include "ZipArchive/Posix/DestinationFolder.h"
#include "ZipArchive/Posix/EntryReader.h"
#include "ZipArchive/Posix/ExtractionStage.h"
#include "ZipArchive/Posix/TreeWriter.h"
#include "ZipArchive/ZipArchiveError.h"
#include "ZipArchive/ZipDirectory.h"
#include "ZipArchive/ZipEntryName.h"

namespace quillon {
namespace {

void throwIfStopped(const std::stop_token& stop) {
  if (stop.stop_requested()) throw QuillonCancellationError();
}

/// AppleDouble files are read whole, in both their forms.
void checkAppleDoubleSizes(const ArchiveTree& tree, const std::vector<ZipEntry>& entries,
                           const ZipArchiveLimits& limits) {
  for (const ArchiveItem& item : tree.items()) {
    if (!item.appleDouble) continue;
    const ZipEntry& file = entries[*item.appleDouble];
    if (std::max(file.size, file.compressedSize) > limits.appleDoubleSize) {
      throw ZipArchiveError::entry(file.path, "is too large for an AppleDouble file");
    }
  }
}

/// Refuses, before they are read, targets that would take much memory.
void checkLinkTargetSizes(const ArchiveTree& tree, const std::vector<ZipEntry>& entries,
                          const ZipArchiveLimits& limits) {
  std::uint64_t left = limits.linkTargetsLength;
  for (const ArchiveItem& item : tree.items()) {
    if (item.kind != ZipEntryKind::symbolicLink) continue;
    const ZipEntry& link = entries[*item.entry];
    if (link.size == 0 || link.size > limits.linkTargetLength || link.compressedSize > 2 * limits.linkTargetLength) {
      throw ZipArchiveError::entry(link.path, "is a symbolic link with a target of impossible length");
    }
    if (link.size > left) {
      throw ZipArchiveError("The archive is refused: it has more than " + std::to_string(limits.linkTargetsLength) +
                            " bytes of targets of links.");
    }
    left -= link.size;
  }
}

std::vector<LinkTarget> readLinkTargets(const ArchiveTree& tree, const std::vector<ZipEntry>& entries,
                                        EntryReader& reader, const ZipArchiveLimits& limits,
                                        const std::stop_token& stop) {
  std::vector<LinkTarget> targets;
  for (std::size_t i = 0; i < tree.items().size(); ++i) {
    const ArchiveItem& item = tree.items()[i];
    if (item.kind != ZipEntryKind::symbolicLink) continue;
    throwIfStopped(stop);
    const ZipEntry& entry = entries[*item.entry];
    const std::string_view target = reader.readWhole(entry);
    if (target.find('\0') != std::string_view::npos) {
      throw ZipArchiveError::entry(entry.path, "is a symbolic link whose target has a NUL character");
    }
    if (pathComponents(target).size() > limits.depth) {
      throw ZipArchiveError::entry(entry.path, "is a symbolic link that leads through too many folders");
    }
    tree.checkLinkTarget(i, target);
    targets.push_back({i, std::string(target)});
  }
  return targets;
}

}  // namespace

void extractArchive(const std::string& archivePath, const std::string& destination, const ZipArchiveLimits& limits,
                    const std::stop_token& stop) {
  const WriteSignalShield shield;
  const ArchiveFile archive(archivePath);
  const std::vector<ZipEntry> entries = readZipDirectory(archive, limits);
  throwIfStopped(stop);
  EntryReader reader(archive);
  constexpr std::size_t kMagicLength = 4;
  const ArchiveTree tree(
      entries, limits.entries, [&](const ZipEntry& entry) { return isAppleDouble(reader.peek(entry, kMagicLength)); },
      stop);
  checkAppleDoubleSizes(tree, entries, limits);
  checkLinkTargetSizes(tree, entries, limits);
  const std::vector<LinkTarget> targets = readLinkTargets(tree, entries, reader, limits, stop);

  DestinationFolder folder(destination);
  ExtractionStage stage(folder.get());
  TreeWriter writer({archive, entries, tree}, stage.get(), stop);
  writer.makeFolders();
  writer.writeFiles();
  // Links come last, so that no file can be written through one.
  writer.makeLinks(targets);
  writer.finishFolders();
  throwIfStopped(stop);
  stage.moveIntoDestination(archive, [&] { writer.restrictFolders(folder.get()); });
  folder.keep();
}

}  // namespace quillon
