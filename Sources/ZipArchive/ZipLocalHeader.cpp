#include "ZipArchive/ZipLocalHeader.h"

#include <algorithm>
#include <string>

#include "ZipArchive/ZipByteReader.h"
#include "ZipArchive/ZipExtraFields.h"
#include "ZipArchive/ZipFormat.h"

namespace quillon {
namespace {

struct LocalHeader {
  std::uint16_t flags = 0;
  std::uint16_t method = 0;
  std::uint32_t crc32 = 0;
  ZipExtents extents;
  std::uint16_t nameLength = 0;
  std::uint16_t extraLength = 0;
};

LocalHeader readFixedPart(ZipByteReader& reader, const ZipEntry& entry) {
  if (reader.u32() != kZipLocalHeaderSignature) throw ZipArchiveError::entry(entry.path, "is not where it should be");
  LocalHeader header;
  reader.skip(2);
  header.flags = reader.u16();
  header.method = reader.u16();
  reader.skip(4);
  header.crc32 = reader.u32();
  header.extents.compressedSize = reader.u32();
  header.extents.size = reader.u32();
  header.nameLength = reader.u16();
  header.extraLength = reader.u16();
  return header;
}

/// Writers that stream put sizes and checksum behind the data, and zeros here.
bool numbersAgree(const LocalHeader& header, const ZipExtents& extents, const ZipEntry& entry) {
  const bool isStreamed = (header.flags & kZipFlagDataDescriptor) != 0;
  const auto agree = [isStreamed](std::uint64_t here, std::uint64_t there) {
    return here == there || (isStreamed && here == 0);
  };
  const auto agreeOrMarked = [&](std::uint64_t here, std::uint64_t there) {
    return agree(here, there) || (isStreamed && here == kZip64Marker32);
  };
  return agree(header.crc32, entry.crc32) && agreeOrMarked(extents.size, entry.size) &&
         agreeOrMarked(extents.compressedSize, entry.compressedSize);
}

bool agrees(const LocalHeader& header, std::string_view name, std::string_view extra, const ZipEntry& entry) {
  constexpr std::uint16_t kFlags =
      kZipFlagEncrypted | kZipFlagPatchedData | kZipFlagStrongEncryption | kZipFlagMaskedHeader;
  if (name != entry.rawName || header.method != entry.method || (header.flags & kFlags) != 0) return false;
  return numbersAgree(header, resolvedZip64Extents(header.extents, parseZipExtraFields(extra), false), entry);
}

}  // namespace

std::uint64_t zipDataOffset(const ArchiveFile& archive, const ZipEntry& entry, std::uint64_t limit) {
  constexpr std::size_t kUsualExtraLength = 64;  // read in advance: one call for most headers
  const std::uint64_t offset = entry.localHeaderOffset;
  if (offset > limit) throw ZipArchiveError::entry(entry.path, "is not where it should be");
  const std::uint64_t space = limit - offset;
  std::string bytes =
      archive.read(offset, static_cast<std::size_t>(std::min<std::uint64_t>(
                               space, kZipLocalHeaderLength + entry.rawName.size() + kUsualExtraLength)));
  ZipByteReader reader(bytes);
  const LocalHeader header = readFixedPart(reader, entry);
  const std::size_t length = kZipLocalHeaderLength + std::size_t{header.nameLength} + header.extraLength;
  if (length > space || entry.compressedSize > space - length) {
    throw ZipArchiveError::entry(entry.path, "reaches into the archive's directory");
  }
  if (length > bytes.size()) {
    bytes = archive.read(offset, length);
  }
  reader = ZipByteReader(bytes);
  reader.skip(kZipLocalHeaderLength);
  const std::string_view name = reader.take(header.nameLength);
  if (!agrees(header, name, reader.take(header.extraLength), entry)) {
    throw ZipArchiveError::entry(entry.path, "is described differently in two places");
  }
  return offset + length;
}

}  // namespace quillon
