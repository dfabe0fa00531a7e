#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quillon::testing {

/// An entry of an archive under test. What is not set agrees with the content.
struct ZipTestEntry {
  std::string name = {};
  std::string content = {};
  /// With the type of file.
  std::uint32_t mode = 0100644;
  std::uint16_t method = 0;
  std::uint16_t flags = 0;
  std::uint8_t host = 3;  // Unix
  /// The low half of the attributes.
  std::uint16_t dosAttributes = 0;
  /// Extra fields of the central header and of the local one.
  std::string extra = {};
  std::string localExtra = {};
  /// MS-DOS time and date: 2020-01-01 00:00 unless said otherwise.
  std::uint16_t dosTime = 0;
  std::uint16_t dosDate = (40 << 9) | (1 << 5) | 1;

  // Lies. Those without "local" are told in both headers.
  std::optional<std::string> localName = std::nullopt;
  std::optional<std::uint16_t> localMethod = std::nullopt;
  std::optional<std::uint32_t> crc32 = std::nullopt;
  std::optional<std::uint32_t> localCRC32 = std::nullopt;
  std::optional<std::uint32_t> size = std::nullopt;
  std::optional<std::uint32_t> compressedSize = std::nullopt;
  std::optional<std::uint32_t> localHeaderOffset = std::nullopt;
  /// Stands where the content's compressed bytes would.
  std::optional<std::string> data = std::nullopt;
};

/// Makes zip archives, whole or broken, field by field as PKWARE's APPNOTE.TXT lays them out.
class ZipArchiveBuilder {
 public:
  ZipArchiveBuilder& add(ZipTestEntry entry);
  ZipArchiveBuilder& addFile(std::string name, std::string content = "content");
  /// `name` ends with "/".
  ZipArchiveBuilder& addFolder(std::string name, std::uint32_t permissions = 0755);
  ZipArchiveBuilder& addLink(std::string name, std::string target);
  /// Writes the sizes behind the data of all entries, and zeros before it.
  ZipArchiveBuilder& withDataDescriptors();
  /// Puts all numbers into zip64 records.
  ZipArchiveBuilder& withZip64();
  ZipArchiveBuilder& withComment(std::string comment);
  /// Says that there is another number of entries.
  ZipArchiveBuilder& withEntryCount(std::uint16_t count);

  [[nodiscard]] std::string build() const;

 private:
  std::vector<ZipTestEntry> entries_;
  bool hasDataDescriptors_ = false;
  bool isZip64_ = false;
  std::string comment_;
  std::optional<std::uint16_t> entryCount_;
};

/// An extra field: identifier, length and `value`.
[[nodiscard]] std::string zipExtraField(std::uint16_t identifier, const std::string& value);
/// The lowest `length` bytes of a number, little-endian.
[[nodiscard]] std::string littleEndian(std::uint64_t value, int length);
/// The CRC-32 that zip uses.
[[nodiscard]] std::uint32_t zipCRC32(const std::string& bytes);
/// `bytes` deflated, without header.
[[nodiscard]] std::string deflated(const std::string& bytes);

}  // namespace quillon::testing
