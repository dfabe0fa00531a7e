#include "ZipArchive/ZipExtraFields.h"

#include <vector>

#include "ZipArchive/ZipByteReader.h"
#include "ZipArchive/ZipFormat.h"

namespace quillon {
namespace {

using Time = std::chrono::sys_time<std::chrono::nanoseconds>;

Time timeFromSeconds(std::uint32_t seconds) {
  // The field is signed: times before 1970 are negative.
  return Time(std::chrono::seconds(static_cast<std::int32_t>(seconds)));
}

/// Field "UT": flags, then the times that the flags name; central headers hold the modification time only.
void readTimestamp(std::string_view value, ZipExtraFields& fields) {
  ZipByteReader reader(value);
  const bool hasModificationTime = reader.remaining() >= 5 && (reader.u8() & 1U) != 0;
  if (hasModificationTime) fields.modificationTime = timeFromSeconds(reader.u32());
}

/// Fields "UX" and PKWARE's Unix field begin alike: time of access, time of modification.
void readUnixTimes(std::string_view value, ZipExtraFields& fields) {
  if (fields.modificationTime || value.size() < 8) return;
  ZipByteReader reader(value);
  reader.skip(4);
  fields.modificationTime = timeFromSeconds(reader.u32());
}

/// Attribute 1 of the NTFS field: times in units of 100 ns since 1601.
void readNTFSTimes(std::string_view value, ZipExtraFields& fields) {
  constexpr std::int64_t kTicksTo1970 = 116'444'736'000'000'000;
  constexpr std::int64_t kTicksOfRange = std::int64_t{90'000'000'000'000'000};  // 285 years, what nanoseconds can hold
  if (value.size() < 16 || fields.modificationTime) return;
  ZipByteReader reader(value);
  reader.skip(4);
  if (reader.u16() != 1 || reader.u16() < 8 || reader.remaining() < 8) return;
  const std::int64_t ticks = static_cast<std::int64_t>(reader.u64() & INT64_MAX) - kTicksTo1970;
  if (ticks < -kTicksOfRange || ticks > kTicksOfRange) return;
  fields.modificationTime = Time(std::chrono::nanoseconds(ticks * 100));
}

void readUnicodePath(std::string_view value, ZipExtraFields& fields) {
  ZipByteReader reader(value);
  if (reader.remaining() < 5 || reader.u8() != 1) return;  // a version that says something else
  fields.unicodePathNameCRC = reader.u32();
  fields.unicodePath = std::string(reader.rest());
}

/// ASi's Unix field: CRC, mode, length of a link's target or device number.
bool describesLinkOrDevice(std::string_view value) {
  if (value.size() < 10) return false;
  ZipByteReader reader(value);
  reader.skip(6);
  return reader.u32() != 0;
}

void readField(std::uint16_t identifier, std::string_view value, ZipExtraFields& fields) {
  constexpr std::size_t kPKWAREUnixFixedLength = 12;
  switch (identifier) {
    case kZipExtraZip64:
      if (fields.zip64) throw ZipArchiveError::damaged("an entry has two zip64 fields");
      fields.zip64 = value;
      break;
    case kZipExtraTimestamp:
      readTimestamp(value, fields);
      break;
    case kZipExtraInfoZIPUnix:
      readUnixTimes(value, fields);
      break;
    case kZipExtraPKWAREUnix:
      readUnixTimes(value, fields);
      if (value.size() > kPKWAREUnixFixedLength) fields.hasUnixLinkOrDevice = true;
      break;
    case kZipExtraNTFS:
      readNTFSTimes(value, fields);
      break;
    case kZipExtraUnicodePath:
      if (fields.unicodePath) throw ZipArchiveError::damaged("an entry has two Unicode names");
      readUnicodePath(value, fields);
      break;
    case kZipExtraASiUnix:
      if (describesLinkOrDevice(value)) fields.hasUnixLinkOrDevice = true;
      break;
    default:
      break;
  }
}

}  // namespace

ZipExtraFields parseZipExtraFields(std::string_view bytes) {
  ZipExtraFields fields;
  ZipByteReader reader(bytes);
  while (reader.remaining() >= 4) {
    const std::uint16_t identifier = reader.u16();
    const std::uint16_t length = reader.u16();
    readField(identifier, reader.take(length), fields);
  }
  return fields;
}

ZipExtents resolvedZip64Extents(ZipExtents extents, const ZipExtraFields& fields, bool hasOffset) {
  ZipByteReader reader(fields.zip64.value_or(std::string_view()));
  // The order is fixed, and only numbers that the header has no room for are present.
  if (extents.size == kZip64Marker32 && fields.zip64) extents.size = reader.u64();
  if (extents.compressedSize == kZip64Marker32 && fields.zip64) extents.compressedSize = reader.u64();
  if (hasOffset && extents.localHeaderOffset == kZip64Marker32 && fields.zip64)
    extents.localHeaderOffset = reader.u64();
  return extents;
}

}  // namespace quillon
