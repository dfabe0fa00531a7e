#include "Support/ZipArchiveBuilder.h"

#include <zlib.h>

#include <utility>

namespace quillon::testing {
namespace {

constexpr std::uint16_t kDataDescriptor = 1U << 3;
constexpr std::uint32_t kMarker = 0xFFFFFFFF;

/// An entry with the numbers that it is written with.
struct Numbers {
  std::string data;
  std::uint32_t crc32 = 0;
  std::uint32_t size = 0;
  std::uint32_t compressedSize = 0;
  std::uint32_t offset = 0;
  std::uint16_t flags = 0;
};

Numbers numbersOf(const ZipTestEntry& entry, bool hasDataDescriptor, std::size_t offset) {
  Numbers numbers;
  numbers.data = entry.data.value_or(entry.method == 8 ? deflated(entry.content) : entry.content);
  numbers.crc32 = entry.crc32.value_or(zipCRC32(entry.content));
  numbers.size = entry.size.value_or(static_cast<std::uint32_t>(entry.content.size()));
  numbers.compressedSize = entry.compressedSize.value_or(static_cast<std::uint32_t>(numbers.data.size()));
  numbers.offset = entry.localHeaderOffset.value_or(static_cast<std::uint32_t>(offset));
  numbers.flags = static_cast<std::uint16_t>(entry.flags | (hasDataDescriptor ? kDataDescriptor : 0));
  return numbers;
}

std::string commonFields(const ZipTestEntry& entry, const Numbers& numbers, std::uint16_t method) {
  return littleEndian(numbers.flags, 2) + littleEndian(method, 2) + littleEndian(entry.dosTime, 2) +
         littleEndian(entry.dosDate, 2);
}

std::string localHeader(const ZipTestEntry& entry, const Numbers& numbers, bool isZip64) {
  const bool isStreamed = (numbers.flags & kDataDescriptor) != 0;
  const std::uint32_t size = isStreamed ? 0 : numbers.size;
  const std::uint32_t compressedSize = isStreamed ? 0 : numbers.compressedSize;
  const std::string name = entry.localName.value_or(entry.name);
  std::string extra = entry.localExtra;
  if (isZip64) extra += zipExtraField(1, littleEndian(size, 8) + littleEndian(compressedSize, 8));
  return "PK\3\4" + littleEndian(20, 2) + commonFields(entry, numbers, entry.localMethod.value_or(entry.method)) +
         littleEndian(isStreamed ? 0 : entry.localCRC32.value_or(numbers.crc32), 4) +
         littleEndian(isZip64 ? kMarker : compressedSize, 4) + littleEndian(isZip64 ? kMarker : size, 4) +
         littleEndian(name.size(), 2) + littleEndian(extra.size(), 2) + name + extra;
}

std::string centralHeader(const ZipTestEntry& entry, const Numbers& numbers, bool isZip64) {
  std::string extra = entry.extra;
  if (isZip64) {
    extra += zipExtraField(
        1, littleEndian(numbers.size, 8) + littleEndian(numbers.compressedSize, 8) + littleEndian(numbers.offset, 8));
  }
  return "PK\1\2" + littleEndian(20, 1) + littleEndian(entry.host, 1) + littleEndian(20, 2) +
         commonFields(entry, numbers, entry.method) + littleEndian(numbers.crc32, 4) +
         littleEndian(isZip64 ? kMarker : numbers.compressedSize, 4) +
         littleEndian(isZip64 ? kMarker : numbers.size, 4) + littleEndian(entry.name.size(), 2) +
         littleEndian(extra.size(), 2) + std::string(6, '\0') + littleEndian(entry.dosAttributes, 2) +
         littleEndian(entry.mode, 2) + littleEndian(isZip64 ? kMarker : numbers.offset, 4) + entry.name + extra;
}

std::string zip64Records(std::uint64_t offset, std::uint64_t length, std::uint64_t count) {
  return "PK\6\6" + littleEndian(44, 8) + littleEndian(45, 2) + littleEndian(45, 2) + littleEndian(0, 8) +
         littleEndian(count, 8) + littleEndian(count, 8) + littleEndian(length, 8) + littleEndian(offset, 8) +
         "PK\6\7" + littleEndian(0, 4) + littleEndian(offset + length, 8) + littleEndian(1, 4);
}

}  // namespace

ZipArchiveBuilder& ZipArchiveBuilder::add(ZipTestEntry entry) {
  entries_.push_back(std::move(entry));
  return *this;
}

ZipArchiveBuilder& ZipArchiveBuilder::addFile(std::string name, std::string content) {
  return add({.name = std::move(name), .content = std::move(content)});
}

ZipArchiveBuilder& ZipArchiveBuilder::addFolder(std::string name, std::uint32_t permissions) {
  return add({.name = std::move(name), .content = {}, .mode = 0040000 | permissions});
}

ZipArchiveBuilder& ZipArchiveBuilder::addLink(std::string name, std::string target) {
  return add({.name = std::move(name), .content = std::move(target), .mode = 0120777});
}

ZipArchiveBuilder& ZipArchiveBuilder::withDataDescriptors() {
  hasDataDescriptors_ = true;
  return *this;
}

ZipArchiveBuilder& ZipArchiveBuilder::withZip64() {
  isZip64_ = true;
  return *this;
}

ZipArchiveBuilder& ZipArchiveBuilder::withComment(std::string comment) {
  comment_ = std::move(comment);
  return *this;
}

ZipArchiveBuilder& ZipArchiveBuilder::withEntryCount(std::uint16_t count) {
  entryCount_ = count;
  return *this;
}

std::string ZipArchiveBuilder::build() const {
  std::string bytes;
  std::string directory;
  for (const ZipTestEntry& entry : entries_) {
    const Numbers numbers = numbersOf(entry, hasDataDescriptors_, bytes.size());
    directory += centralHeader(entry, numbers, isZip64_);
    bytes += localHeader(entry, numbers, isZip64_) + numbers.data;
    if (hasDataDescriptors_) {
      bytes += "PK\7\x08" + littleEndian(numbers.crc32, 4) + littleEndian(numbers.compressedSize, 4) +
               littleEndian(numbers.size, 4);
    }
  }
  const std::uint64_t offset = bytes.size();
  const std::uint64_t count = entryCount_.value_or(static_cast<std::uint16_t>(entries_.size()));
  bytes += directory;
  if (isZip64_) bytes += zip64Records(offset, directory.size(), count);
  return bytes + "PK\5\6" + littleEndian(0, 4) + littleEndian(isZip64_ ? 0xFFFF : count, 2) +
         littleEndian(isZip64_ ? 0xFFFF : count, 2) + littleEndian(isZip64_ ? kMarker : directory.size(), 4) +
         littleEndian(isZip64_ ? kMarker : offset, 4) + littleEndian(comment_.size(), 2) + comment_;
}

std::string zipExtraField(std::uint16_t identifier, const std::string& value) {
  return littleEndian(identifier, 2) + littleEndian(value.size(), 2) + value;
}

std::string littleEndian(std::uint64_t value, int length) {
  std::string bytes;
  for (int i = 0; i < length; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
  return bytes;
}

std::uint32_t zipCRC32(const std::string& bytes) {
  return static_cast<std::uint32_t>(
      crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size())));
}

std::string deflated(const std::string& bytes) {
  z_stream stream{};
  deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  std::string result(deflateBound(&stream, bytes.size()), '\0');
  std::string input = bytes;
  stream.next_in = reinterpret_cast<Bytef*>(input.data());
  stream.avail_in = static_cast<uInt>(input.size());
  stream.next_out = reinterpret_cast<Bytef*>(result.data());
  stream.avail_out = static_cast<uInt>(result.size());
  deflate(&stream, Z_FINISH);
  result.resize(stream.total_out);
  deflateEnd(&stream);
  return result;
}

}  // namespace quillon::testing
