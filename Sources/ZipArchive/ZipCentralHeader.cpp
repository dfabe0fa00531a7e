#include "ZipArchive/ZipCentralHeader.h"

#include <ctime>
#include <string_view>

#include "ZipArchive/ZipEntryName.h"
#include "ZipArchive/ZipExtraFields.h"
#include "ZipArchive/ZipFormat.h"

namespace quillon {
namespace {

// File types in a Unix mode, the same numbers on every system (<sys/stat.h>).
constexpr std::uint32_t kTypeMask = 0170000;
constexpr std::uint32_t kTypeFile = 0100000;
constexpr std::uint32_t kTypeFolder = 0040000;
constexpr std::uint32_t kTypeLink = 0120000;

constexpr std::uint32_t kDOSFolder = 0x10;
/// 7-Zip's mark for a Unix mode in the attributes of an entry of another system.
constexpr std::uint32_t kUnixExtension = 0x8000;

/// The fixed part of a header, and views of what follows it.
struct Header {
  std::uint8_t host = 0;
  std::uint16_t flags = 0;
  std::uint16_t method = 0;
  std::uint16_t dosTime = 0;
  std::uint16_t dosDate = 0;
  std::uint32_t crc32 = 0;
  ZipExtents extents;
  std::uint16_t disk = 0;
  std::uint32_t attributes = 0;
  std::string_view name;
  std::string_view extra;
};

Header readHeader(ZipByteReader& reader) {
  if (reader.u32() != kZipCentralHeaderSignature) {
    throw ZipArchiveError::damaged("its directory holds something else than entries");
  }
  Header header;
  reader.skip(1);
  header.host = reader.u8();
  reader.skip(2);
  header.flags = reader.u16();
  header.method = reader.u16();
  header.dosTime = reader.u16();
  header.dosDate = reader.u16();
  header.crc32 = reader.u32();
  header.extents.compressedSize = reader.u32();
  header.extents.size = reader.u32();
  const std::uint16_t nameLength = reader.u16();
  const std::uint16_t extraLength = reader.u16();
  const std::uint16_t commentLength = reader.u16();
  header.disk = reader.u16();
  reader.skip(2);
  header.attributes = reader.u32();
  header.extents.localHeaderOffset = reader.u32();
  header.name = reader.take(nameLength);
  header.extra = reader.take(extraLength);
  reader.skip(commentLength);
  return header;
}

/// MS-DOS knows local time only, in steps of two seconds.
std::chrono::sys_time<std::chrono::nanoseconds> timeFromDOS(std::uint16_t date, std::uint16_t time) {
  std::tm local{};
  local.tm_year = (date >> 9) + 80;
  local.tm_mon = ((date >> 5) & 15) - 1;
  local.tm_mday = date & 31;
  local.tm_hour = time >> 11;
  local.tm_min = (time >> 5) & 63;
  local.tm_sec = (time & 31) * 2;
  local.tm_isdst = -1;
  if (local.tm_mon < 0 || local.tm_mon > 11 || local.tm_mday == 0) {
    local.tm_mon = 0;
    local.tm_mday = 1;
  }
  return std::chrono::sys_time<std::chrono::nanoseconds>(std::chrono::seconds(std::mktime(&local)));
}

/// The Unix mode of the entry, 0 when it has none.
std::uint32_t unixMode(const Header& header) noexcept {
  const bool isUnix = header.host == kZipHostUnix || header.host == kZipHostDarwin;
  return isUnix || (header.attributes & kUnixExtension) != 0 ? header.attributes >> 16 : 0;
}

ZipEntryKind kindOf(const Header& header, const ZipEntryName& name, std::string_view decoded) {
  const std::uint32_t type = unixMode(header) & kTypeMask;
  const bool isMarked = type == 0 && (header.attributes & kDOSFolder) != 0;
  if (type == kTypeFolder || (type == 0 && (name.endsWithSlash || isMarked)) || name.path.empty()) {
    return ZipEntryKind::folder;
  }
  if (name.endsWithSlash) throw ZipArchiveError::entry(decoded, "has the name of a folder and is none");
  if (type == kTypeLink) return ZipEntryKind::symbolicLink;
  if (type != 0 && type != kTypeFile) throw ZipArchiveError::entry(decoded, "is a special file");
  return ZipEntryKind::file;
}

void checkEncoding(const Header& header, std::string_view name) {
  constexpr std::uint16_t kEncrypted = kZipFlagEncrypted | kZipFlagStrongEncryption | kZipFlagMaskedHeader;
  if ((header.flags & kEncrypted) != 0) throw ZipArchiveError::entry(name, "is encrypted");
  if ((header.flags & kZipFlagPatchedData) != 0) throw ZipArchiveError::entry(name, "is a patch of another file");
  if (header.method != kZipMethodStored && header.method != kZipMethodDeflated) {
    throw ZipArchiveError::entry(
        name, "is compressed in a way that is not supported (method " + std::to_string(header.method) + ")");
  }
  if (header.disk != 0 && header.disk != kZip64Marker16) {
    throw ZipArchiveError::entry(name, "is on another part of a split archive");
  }
}

void checkSizes(const ZipEntry& entry) {
  // One bit of deflate yields at most half a match of 258 bytes.
  constexpr std::uint64_t kDeflateRatio = 1032;
  const bool isPossible = entry.method == kZipMethodStored ? entry.size == entry.compressedSize
                                                           : entry.size / kDeflateRatio <= entry.compressedSize;
  if (!isPossible) throw ZipArchiveError::entry(entry.path, "has sizes that contradict each other");
  if (entry.kind == ZipEntryKind::folder && entry.size != 0) {
    throw ZipArchiveError::entry(entry.path, "is a folder with contents of a file");
  }
}

}  // namespace

ZipEntry readZipCentralHeader(ZipByteReader& reader, const ZipArchiveLimits& limits) {
  const Header header = readHeader(reader);
  const ZipExtraFields fields = parseZipExtraFields(header.extra);
  const std::string decoded = decodedZipName(header.name, header.flags, fields);
  checkEncoding(header, decoded);
  if (fields.hasUnixLinkOrDevice) throw ZipArchiveError::entry(decoded, "is a hard link or a special file");
  ZipEntryName name = checkedZipName(decoded, header.host, limits);
  const ZipExtents extents = resolvedZip64Extents(header.extents, fields, true);
  ZipEntry entry;
  entry.kind = kindOf(header, name, decoded);
  entry.path = std::move(name.path);
  entry.rawName = std::string(header.name);
  entry.method = header.method;
  entry.flags = header.flags;
  entry.crc32 = header.crc32;
  entry.size = extents.size;
  entry.compressedSize = extents.compressedSize;
  entry.localHeaderOffset = extents.localHeaderOffset;
  // The bits for set-user, set-group and sticky stay behind.
  if (const std::uint32_t mode = unixMode(header); mode != 0) entry.permissions = mode & 0777;
  entry.modificationTime =
      fields.modificationTime ? *fields.modificationTime : timeFromDOS(header.dosDate, header.dosTime);
  checkSizes(entry);
  return entry;
}

}  // namespace quillon
