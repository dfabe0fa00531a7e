#include "ZipArchive/ZipDirectory.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "QuillonCore/Runtime/QuillonParallelFor.h"
#include "ZipArchive/ZipByteReader.h"
#include "ZipArchive/ZipCentralHeader.h"
#include "ZipArchive/ZipFormat.h"
#include "ZipArchive/ZipLocalHeader.h"

namespace quillon {
namespace {

/// Where the central directory is.
struct Location {
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
  std::uint64_t entryCount = 0;
  /// Where the records of the archive's end begin.
  std::uint64_t endOffset = 0;
  bool isZip64 = false;
};

bool isEndRecord(std::string_view bytes) {
  if (bytes.size() < kZipEndLength) return false;
  ZipByteReader reader(bytes);
  if (reader.u32() != kZipEndSignature) return false;
  reader.skip(kZipEndLength - 6);
  const std::uint16_t commentLength = reader.u16();
  if (commentLength > reader.remaining()) return false;
  reader.skip(commentLength);
  // Nothing follows, but for the padding of writers that write whole blocks to pipes.
  return reader.rest().find_first_not_of('\0') == std::string_view::npos;
}

/// The end record's offset in `tail`, the last bytes of the archive.
std::size_t findEndRecord(std::string_view tail) {
  constexpr std::string_view kSignature("PK\5\6");
  for (std::size_t at = tail.rfind(kSignature); at != std::string_view::npos; at = tail.rfind(kSignature, at - 1)) {
    if (isEndRecord(tail.substr(at))) return at;
    if (at == 0) break;
  }
  throw ZipArchiveError("This is no zip archive, or its end is missing.");
}

Location readEndRecord(ZipByteReader reader, std::uint64_t offset) {
  reader.skip(4);
  const std::uint16_t disk = reader.u16();
  const std::uint16_t directoryDisk = reader.u16();
  const std::uint16_t countOnDisk = reader.u16();
  Location location;
  location.entryCount = reader.u16();
  location.length = reader.u32();
  location.offset = reader.u32();
  location.endOffset = offset;
  const bool isWhole = disk == directoryDisk && (disk == 0 || disk == kZip64Marker16);
  if (!isWhole || countOnDisk != location.entryCount) throw ZipArchiveError("The archive is a part of a split one.");
  return location;
}

/// The offset of the zip64 end record, when a locator before the end record says that there is one.
std::optional<std::uint64_t> zip64EndOffset(const ArchiveFile& archive, std::uint64_t endOffset) {
  if (endOffset < kZip64LocatorLength) return std::nullopt;
  const std::string bytes = archive.read(endOffset - kZip64LocatorLength, kZip64LocatorLength);
  ZipByteReader reader(bytes);
  if (reader.u32() != kZip64LocatorSignature) return std::nullopt;
  const std::uint32_t disk = reader.u32();
  const std::uint64_t offset = reader.u64();
  if (disk != 0 || reader.u32() > 1) throw ZipArchiveError("The archive is a part of a split one.");
  return offset;
}

Location readZip64EndRecord(const ArchiveFile& archive, std::uint64_t offset, const Location& classic) {
  const std::string bytes = archive.read(offset, kZip64EndLength);
  ZipByteReader reader(bytes);
  if (reader.u32() != kZip64EndSignature) throw ZipArchiveError::damaged("its zip64 record is missing");
  const std::uint64_t recordLength = reader.u64();
  reader.skip(4);
  const std::uint32_t disk = reader.u32();
  const std::uint32_t directoryDisk = reader.u32();
  const std::uint64_t countOnDisk = reader.u64();
  Location location;
  location.entryCount = reader.u64();
  location.length = reader.u64();
  location.offset = reader.u64();
  location.endOffset = offset;
  location.isZip64 = true;
  if (disk != 0 || directoryDisk != 0 || countOnDisk != location.entryCount) {
    throw ZipArchiveError("The archive is a part of a split one.");
  }
  constexpr std::uint64_t kUncountedLength = 12;  // signature and the length itself
  const std::uint64_t space = classic.endOffset - kZip64LocatorLength - offset;
  const bool agrees = (classic.entryCount == kZip64Marker16 || classic.entryCount == location.entryCount) &&
                      (classic.length == kZip64Marker32 || classic.length == location.length) &&
                      (classic.offset == kZip64Marker32 || classic.offset == location.offset);
  if (!agrees || space < kZip64EndLength || recordLength != space - kUncountedLength) {
    throw ZipArchiveError::damaged("the records at its end contradict each other");
  }
  return location;
}

Location locateDirectory(const ArchiveFile& archive) {
  constexpr std::uint64_t kLongestComment = 0xFFFF;
  const std::uint64_t tailLength = std::min(archive.length(), kLongestComment + kZipEndLength);
  const std::uint64_t tailOffset = archive.length() - tailLength;
  const std::string tail = archive.read(tailOffset, static_cast<std::size_t>(tailLength));
  const std::size_t at = findEndRecord(tail);
  Location location = readEndRecord(ZipByteReader(std::string_view(tail).substr(at)), tailOffset + at);
  if (const auto offset = zip64EndOffset(archive, location.endOffset)) {
    if (*offset > location.endOffset - kZip64LocatorLength) {
      throw ZipArchiveError::damaged("its zip64 record is missing");
    }
    location = readZip64EndRecord(archive, *offset, location);
  }
  if (location.offset > location.endOffset || location.endOffset - location.offset != location.length) {
    throw ZipArchiveError::damaged("its directory is not where it should be");
  }
  return location;
}

void checkTotals(const std::vector<ZipEntry>& entries, std::uint64_t archiveLength, const ZipArchiveLimits& limits) {
  std::uint64_t total = 0;
  for (const ZipEntry& entry : entries) {
    if (entry.size > limits.totalSize - total) {
      throw ZipArchiveError("The archive is refused: it unpacks to more than " + std::to_string(limits.totalSize) +
                            " bytes.");
    }
    total += entry.size;
  }
  if (total > limits.unratedSize && total / limits.ratio > archiveLength) {
    throw ZipArchiveError("The archive is refused: it unpacks to more than " + std::to_string(limits.ratio) +
                          " times its length.");
  }
}

std::vector<ZipEntry> readEntries(const ArchiveFile& archive, const Location& location,
                                  const ZipArchiveLimits& limits) {
  if (location.length > limits.directoryLength)
    throw ZipArchiveError("The archive is refused: its directory is too long.");
  const std::string directory = archive.read(location.offset, static_cast<std::size_t>(location.length));
  ZipByteReader reader(directory);
  std::vector<ZipEntry> entries;
  entries.reserve(std::min<std::uint64_t>(location.entryCount, directory.size() / kZipCentralHeaderLength));
  while (reader.remaining() > 0) {
    if (entries.size() == limits.entries) {
      throw ZipArchiveError("The archive is refused: it has more than " + std::to_string(limits.entries) + " entries.");
    }
    entries.push_back(readZipCentralHeader(reader, limits));
  }
  // Writers without zip64 count modulo 65,536.
  const std::uint64_t count = location.isZip64 ? entries.size() : entries.size() & 0xFFFF;
  if (count != location.entryCount) throw ZipArchiveError::damaged("its directory has another number of entries");
  return entries;
}

void locateData(const ArchiveFile& archive, std::vector<ZipEntry>& entries, std::uint64_t directoryOffset) {
  constexpr std::size_t kChunk = 64;
  quillonParallelFor((entries.size() + kChunk - 1) / kChunk, [&](std::size_t chunk, std::size_t) {
    const std::size_t end = std::min(entries.size(), (chunk + 1) * kChunk);
    for (std::size_t i = chunk * kChunk; i < end; ++i) {
      entries[i].dataOffset = zipDataOffset(archive, entries[i], directoryOffset);
    }
  });
}

/// Entries that share bytes are how a small archive unpacks to a huge tree, and no program writes them.
void checkOverlaps(const std::vector<ZipEntry>& entries) {
  std::vector<const ZipEntry*> inOrder;
  inOrder.reserve(entries.size());
  for (const ZipEntry& entry : entries) inOrder.push_back(&entry);
  std::sort(inOrder.begin(), inOrder.end(),
            [](const ZipEntry* a, const ZipEntry* b) { return a->localHeaderOffset < b->localHeaderOffset; });
  std::uint64_t end = 0;
  for (const ZipEntry* entry : inOrder) {
    if (entry->localHeaderOffset < end) throw ZipArchiveError::entry(entry->path, "shares bytes with another entry");
    end = entry->dataOffset + entry->compressedSize;
  }
}

}  // namespace

std::vector<ZipEntry> readZipDirectory(const ArchiveFile& archive, const ZipArchiveLimits& limits) {
  const Location location = locateDirectory(archive);
  std::vector<ZipEntry> entries = readEntries(archive, location, limits);
  checkTotals(entries, archive.length(), limits);
  locateData(archive, entries, location.offset);
  checkOverlaps(entries);
  return entries;
}

}  // namespace quillon
