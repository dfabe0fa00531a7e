#include "CodeSignature/UniversalHeader.h"

#include "CodeSignature/BlobBuilder.h"
#include "CodeSignature/BlobReader.h"
#include "CodeSignature/CodeSignatureError.h"

namespace quillon {
namespace {

std::uint32_t require(const std::optional<std::uint32_t>& value) {
  if (!value) throw CodeSignatureError(CodeSignatureErrorCode::badObjectFormat);
  return *value;
}

std::uint32_t narrow(std::uint64_t value) {
  if (value > UINT32_MAX) throw QuillonError("The universal file would be longer than 4 GiB");
  return static_cast<std::uint32_t>(value);
}

}  // namespace

UniversalHeaderEntry readUniversalHeaderEntry(std::string_view header, std::uint64_t index) {
  const BlobReader reader(header);
  const std::uint64_t start = universalHeaderLength(index);
  return {.cpuType = require(reader.u32(start)),
          .cpuSubtype = require(reader.u32(start + 4)),
          .offset = require(reader.u32(start + 8)),
          .length = require(reader.u32(start + 12)),
          .alignment = require(reader.u32(start + 16))};
}

std::uint64_t universalImageOffset(std::uint64_t end, std::uint32_t alignment) noexcept {
  const std::uint64_t mask = (std::uint64_t{1} << alignment) - 1;
  return (end + mask) & ~mask;
}

std::string buildUniversalHeader(const std::vector<UniversalHeaderEntry>& entries) {
  BlobBuilder out;
  out.u32(kUniversalMagic).u32(static_cast<std::uint32_t>(entries.size()));
  for (const UniversalHeaderEntry& entry : entries) {
    narrow(entry.offset + entry.length);
    out.u32(entry.cpuType).u32(entry.cpuSubtype).u32(narrow(entry.offset)).u32(narrow(entry.length));
    out.u32(entry.alignment);
  }
  return out.blob();
}

}  // namespace quillon
