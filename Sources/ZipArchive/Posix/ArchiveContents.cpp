#include "ZipArchive/Posix/ArchiveContents.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"
#include "ZipArchive/AppleDouble.h"
#include "ZipArchive/Posix/EntryReader.h"
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

ArchiveContents readArchiveContents(const std::string& path, const ZipArchiveLimits& limits,
                                    const std::stop_token& stop) {
  ArchiveFile archive(path);
  std::vector<ZipEntry> entries = readZipDirectory(archive, limits);
  throwIfStopped(stop);
  EntryReader reader(archive);
  constexpr std::size_t kMagicLength = 4;
  ArchiveTree tree(
      entries, limits.entries, [&](const ZipEntry& entry) { return isAppleDouble(reader.peek(entry, kMagicLength)); },
      stop);
  checkAppleDoubleSizes(tree, entries, limits);
  checkLinkTargetSizes(tree, entries, limits);
  std::vector<LinkTarget> linkTargets = readLinkTargets(tree, entries, reader, limits, stop);
  return {std::move(archive), std::move(entries), std::move(tree), std::move(linkTargets)};
}

}  // namespace quillon
