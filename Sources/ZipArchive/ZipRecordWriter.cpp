#include "ZipArchive/ZipRecordWriter.h"

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <limits>

#include "ZipArchive/ZipFormat.h"

namespace quillon {
namespace {

constexpr std::uint16_t kVersionPlain = 20;  // deflate and folders
constexpr std::uint16_t kVersionZip64 = 45;

class Bytes {
 public:
  Bytes& u16(std::uint64_t value) { return number(value, 2); }
  Bytes& u32(std::uint64_t value) { return number(value, 4); }
  Bytes& u64(std::uint64_t value) { return number(value, 8); }
  Bytes& text(const std::string& value) {
    bytes_ += value;
    return *this;
  }
  [[nodiscard]] const std::string& get() const noexcept { return bytes_; }

 private:
  Bytes& number(std::uint64_t value, int length) {
    for (int i = 0; i < length; ++i) bytes_ += static_cast<char>(value >> (8 * i) & 0xFF);
    return *this;
  }

  std::string bytes_;
};

struct DOSTime {
  std::uint16_t date = 1 << 5 | 1;
  std::uint16_t time = 0;
};

/// Local time in steps of two seconds, from 1980 to 2107.
DOSTime dosTime(std::chrono::sys_seconds time) {
  const std::time_t seconds = time.time_since_epoch().count();
  std::tm local{};
  if (localtime_r(&seconds, &local) == nullptr || local.tm_year < 80 || local.tm_year > 207) return {};
  return {static_cast<std::uint16_t>((local.tm_year - 80) << 9 | (local.tm_mon + 1) << 5 | local.tm_mday),
          static_cast<std::uint16_t>(local.tm_hour << 11 | local.tm_min << 5 | local.tm_sec / 2)};
}

/// The exact time, which has 32 bits and a sign.
std::string timestampField(std::chrono::sys_seconds time) {
  const std::int64_t seconds = time.time_since_epoch().count();
  if (seconds != static_cast<std::int32_t>(seconds)) return {};
  Bytes field;
  field.u16(kZipExtraTimestamp).u16(5);
  return field.get() + '\1' + Bytes().u32(static_cast<std::uint64_t>(seconds)).get();
}

std::uint64_t orMarker(std::uint64_t value) {
  return std::min<std::uint64_t>(value, kZip64Marker32);
}

std::uint16_t flagsOf(const ZipWrittenEntry& entry) {
  const bool isASCII =
      std::none_of(entry.name.begin(), entry.name.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
  return isASCII ? 0 : kZipFlagUTF8;
}

/// The fields that both headers have, from the flags to the checksum.
void appendCommonFields(Bytes& bytes, const ZipWrittenEntry& entry) {
  const DOSTime time = dosTime(entry.modificationTime);
  bytes.u16(flagsOf(entry)).u16(entry.method).u16(time.time).u16(time.date).u32(entry.crc32);
}

/// The numbers of an entry that its central header has no room for.
std::string centralZip64Field(const ZipWrittenEntry& entry) {
  Bytes numbers;
  if (entry.size >= kZip64Marker32) numbers.u64(entry.size);
  if (entry.compressedSize >= kZip64Marker32) numbers.u64(entry.compressedSize);
  if (entry.localHeaderOffset >= kZip64Marker32) numbers.u64(entry.localHeaderOffset);
  if (numbers.get().empty()) return {};
  return Bytes().u16(kZipExtraZip64).u16(numbers.get().size()).text(numbers.get()).get();
}

}  // namespace

std::string zipLocalHeader(const ZipWrittenEntry& entry) {
  std::string extra = timestampField(entry.modificationTime);
  if (entry.isLarge) extra += Bytes().u16(kZipExtraZip64).u16(16).u64(entry.size).u64(entry.compressedSize).get();
  Bytes bytes;
  bytes.u32(kZipLocalHeaderSignature).u16(entry.isLarge ? kVersionZip64 : kVersionPlain);
  appendCommonFields(bytes, entry);
  bytes.u32(entry.isLarge ? kZip64Marker32 : entry.compressedSize).u32(entry.isLarge ? kZip64Marker32 : entry.size);
  bytes.u16(entry.name.size()).u16(extra.size()).text(entry.name).text(extra);
  return bytes.get();
}

std::string zipCentralHeader(const ZipWrittenEntry& entry) {
  const std::string zip64 = centralZip64Field(entry);
  const std::string extra = timestampField(entry.modificationTime) + zip64;
  const bool needsZip64 = entry.isLarge || !zip64.empty();
  constexpr std::uint32_t kDOSFolder = 0x10;
  Bytes bytes;
  bytes.u32(kZipCentralHeaderSignature).u16(std::uint64_t{kZipHostUnix} << 8 | kVersionZip64);
  bytes.u16(needsZip64 ? kVersionZip64 : kVersionPlain);
  appendCommonFields(bytes, entry);
  bytes.u32(orMarker(entry.compressedSize)).u32(orMarker(entry.size));
  bytes.u16(entry.name.size()).u16(extra.size()).u16(0).u16(0).u16(0);
  bytes.u32(std::uint64_t{entry.mode} << 16 | (entry.name.ends_with('/') ? kDOSFolder : 0));
  bytes.u32(orMarker(entry.localHeaderOffset)).text(entry.name).text(extra);
  return bytes.get();
}

std::string zipEndRecords(std::uint64_t directoryOffset, std::uint64_t directoryLength, std::uint64_t entryCount) {
  Bytes bytes;
  if (entryCount >= kZip64Marker16 || directoryOffset >= kZip64Marker32 || directoryLength >= kZip64Marker32) {
    bytes.u32(kZip64EndSignature).u64(kZip64EndLength - 12).u16(std::uint64_t{kZipHostUnix} << 8 | kVersionZip64);
    bytes.u16(kVersionZip64).u32(0).u32(0).u64(entryCount).u64(entryCount).u64(directoryLength).u64(directoryOffset);
    bytes.u32(kZip64LocatorSignature).u32(0).u64(directoryOffset + directoryLength).u32(1);
  }
  const std::uint64_t count = std::min<std::uint64_t>(entryCount, kZip64Marker16);
  bytes.u32(kZipEndSignature).u16(0).u16(0).u16(count).u16(count);
  bytes.u32(orMarker(directoryLength)).u32(orMarker(directoryOffset)).u16(0);
  return bytes.get();
}

}  // namespace quillon
