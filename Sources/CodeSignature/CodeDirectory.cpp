#include "CodeSignature/CodeDirectory.h"

#include <algorithm>

#include "CodeSignature/BlobBuilder.h"
#include "CodeSignature/BlobReader.h"
#include "CodeSignature/CodeSignatureError.h"

namespace quillon {
namespace {

constexpr std::uint32_t kMagic = 0xFADE0C02;
constexpr std::uint32_t kEarliestVersion = 0x20001;
constexpr std::uint32_t kCompatibilityLimit = 0x2F000;
constexpr std::uint32_t kSupportsScatter = 0x20100;
constexpr std::uint32_t kSupportsTeam = 0x20200;
constexpr std::uint32_t kSupportsCodeLimit64 = 0x20300;
constexpr std::uint32_t kSupportsExecutableSegment = 0x20400;
constexpr std::uint32_t kSupportsRuntime = 0x20500;

/// Far more than there are kinds of parts.
constexpr std::uint64_t kSpecialSlotLimit = 64;

constexpr std::uint64_t kFixedSize = 44;
constexpr std::uint64_t kScatterEnd = 48;
constexpr std::uint64_t kTeamEnd = 52;
constexpr std::uint64_t kCodeLimit64End = 64;
constexpr std::uint64_t kExecutableSegmentEnd = 88;
constexpr std::uint64_t kRuntimeEnd = 96;

[[noreturn]] void fail(CodeSignatureErrorCode code = CodeSignatureErrorCode::signatureFailed) {
  throw CodeSignatureError(code);
}

template <typename T>
T require(const std::optional<T>& value) {
  if (!value) fail();
  return *value;
}

/// Number of bytes of the fixed part that a directory of this version has.
std::uint64_t fixedSize(std::uint32_t version) {
  if (version >= kSupportsRuntime) return kRuntimeEnd;
  if (version >= kSupportsExecutableSegment) return kExecutableSegmentEnd;
  if (version >= kSupportsCodeLimit64) return kCodeLimit64End;
  if (version >= kSupportsTeam) return kTeamEnd;
  if (version >= kSupportsScatter) return kScatterEnd;
  return kFixedSize;
}

void readFixedPart(const BlobReader& reader, CodeDirectory& directory) {
  directory.flags = require(reader.u32(12));
  directory.codeLimit = require(reader.u32(32));
  const auto type = codeHashType(require(reader.u8(37)));
  if (!type) fail(CodeSignatureErrorCode::signatureUnsupported);
  directory.hashType = *type;
  if (require(reader.u8(36)) != codeHashSize(*type)) fail();
  directory.platform = require(reader.u8(38));
  directory.pageSizeLog2 = require(reader.u8(39));
}

void readVersionedFields(const BlobReader& reader, CodeDirectory& directory) {
  const std::uint32_t version = directory.version;
  // Nobody writes scattered code; what it would mean is not worth the risk of a second way to lay out pages.
  if (version >= kSupportsScatter && require(reader.u32(44)) != 0) fail();
  if (version >= kSupportsTeam) {
    if (const std::uint32_t offset = require(reader.u32(48)); offset != 0) {
      if (offset < fixedSize(version)) fail();
      directory.team = require(reader.terminatedText(offset));
    }
  }
  if (version >= kSupportsCodeLimit64) {
    if (const std::uint64_t limit = require(reader.u64(56)); limit != 0) directory.codeLimit = limit;
  }
  if (version >= kSupportsExecutableSegment) {
    directory.executableSegmentBase = require(reader.u64(64));
    directory.executableSegmentLimit = require(reader.u64(72));
    directory.executableSegmentFlags = require(reader.u64(80));
  }
  if (version >= kSupportsRuntime) directory.runtimeVersion = require(reader.u32(88));
}

void checkPageCount(const CodeDirectory& directory, std::uint64_t pages) {
  if (directory.pageSizeLog2 == 0) {
    if (pages != (directory.codeLimit > 0 ? 1U : 0U)) fail();
    return;
  }
  if (directory.pageSizeLog2 >= 32 || directory.codeLimit == 0) fail();
  if (((directory.codeLimit - 1) >> directory.pageSizeLog2) + 1 != pages) fail();
}

void readHashes(const BlobReader& reader, CodeDirectory& directory) {
  const std::uint64_t hashSize = codeHashSize(directory.hashType);
  const std::uint64_t base = require(reader.u32(16));
  const std::uint64_t special = require(reader.u32(24));
  const std::uint64_t pages = require(reader.u32(28));
  // Both counts are below 2^32 and the size below 2^6: no product overflows.
  if (special > kSpecialSlotLimit || special * hashSize > base ||
      base - special * hashSize < fixedSize(directory.version))
    fail();
  directory.pageHashes = require(reader.bytes(base, pages * hashSize));
  checkPageCount(directory, pages);
  directory.specialSlotCount = static_cast<std::uint32_t>(special);
  for (std::uint64_t slot = 1; slot <= special; ++slot) {
    const std::string_view hash = require(reader.bytes(base - slot * hashSize, hashSize));
    if (std::ranges::all_of(hash, [](char byte) { return byte == 0; })) continue;
    directory.specialHashes.emplace(static_cast<CodeSlot>(slot), hash);
  }
}

std::uint32_t versionFor(const CodeDirectory& directory) {
  const bool isRuntimeHardened = (directory.flags & kCodeDirectoryRuntimeFlag) != 0;
  if (isRuntimeHardened || directory.runtimeVersion != 0) return kSupportsRuntime;
  if (directory.executableSegmentLimit != 0 || directory.executableSegmentFlags != 0) return kSupportsExecutableSegment;
  if (directory.codeLimit > UINT32_MAX) return kSupportsCodeLimit64;
  return directory.team.empty() ? kSupportsScatter : kSupportsTeam;
}

struct Layout {
  std::uint32_t version = 0;
  std::uint32_t identifierOffset = 0;
  std::uint32_t teamOffset = 0;
  std::uint32_t specialSlots = 0;
  std::uint32_t hashOffset = 0;
  std::uint32_t length = 0;
};

Layout layOut(const CodeDirectory& directory) {
  const std::uint64_t hashSize = codeHashSize(directory.hashType);
  Layout layout;
  layout.version = versionFor(directory);
  std::uint64_t offset = fixedSize(layout.version);
  layout.identifierOffset = static_cast<std::uint32_t>(offset);
  offset += directory.identifier.size() + 1;
  if (!directory.team.empty()) {
    layout.teamOffset = static_cast<std::uint32_t>(offset);
    offset += directory.team.size() + 1;
  }
  if (!directory.specialHashes.empty()) {
    layout.specialSlots = static_cast<std::uint32_t>(directory.specialHashes.rbegin()->first);
  }
  offset += layout.specialSlots * hashSize;
  const std::uint64_t length = offset + directory.pageHashes.size();
  if (length > UINT32_MAX) fail(CodeSignatureErrorCode::signatureInvalid);
  layout.hashOffset = static_cast<std::uint32_t>(offset);
  layout.length = static_cast<std::uint32_t>(length);
  return layout;
}

void buildVersionedFields(const CodeDirectory& directory, const Layout& layout, BlobBuilder& out) {
  out.u32(0);  // no scatter vector
  if (layout.version >= kSupportsTeam) out.u32(layout.teamOffset);
  if (layout.version >= kSupportsCodeLimit64) {
    out.u32(0).u64(directory.codeLimit > UINT32_MAX ? directory.codeLimit : 0);
  }
  if (layout.version >= kSupportsExecutableSegment) {
    out.u64(directory.executableSegmentBase).u64(directory.executableSegmentLimit);
    out.u64(directory.executableSegmentFlags);
  }
  if (layout.version >= kSupportsRuntime) out.u32(directory.runtimeVersion).u32(0);
}

}  // namespace

CodeDirectory parseCodeDirectory(std::string blob) {
  CodeDirectory directory;
  directory.blob = std::move(blob);
  const BlobReader reader(directory.blob);
  if (require(reader.u32(0)) != kMagic || require(reader.u32(4)) != reader.size()) fail();
  directory.version = require(reader.u32(8));
  if (directory.version < kEarliestVersion || directory.version > kCompatibilityLimit) {
    fail(CodeSignatureErrorCode::signatureUnsupported);
  }
  readFixedPart(reader, directory);
  readVersionedFields(reader, directory);
  const std::uint32_t identifierOffset = require(reader.u32(20));
  if (identifierOffset < fixedSize(directory.version)) fail();
  directory.identifier = require(reader.terminatedText(identifierOffset));
  readHashes(reader, directory);
  return directory;
}

std::string buildCodeDirectory(const CodeDirectory& directory) {
  const Layout layout = layOut(directory);
  const std::size_t hashSize = codeHashSize(directory.hashType);
  BlobBuilder out;
  out.u32(kMagic).u32(layout.length).u32(layout.version).u32(directory.flags);
  out.u32(layout.hashOffset).u32(layout.identifierOffset).u32(layout.specialSlots);
  out.u32(static_cast<std::uint32_t>(directory.pageCount()));
  out.u32(static_cast<std::uint32_t>(std::min<std::uint64_t>(directory.codeLimit, UINT32_MAX)));
  out.u8(static_cast<std::uint8_t>(hashSize)).u8(static_cast<std::uint8_t>(directory.hashType));
  out.u8(directory.platform).u8(directory.pageSizeLog2).u32(0);
  buildVersionedFields(directory, layout, out);
  out.bytes(directory.identifier).u8(0);
  if (!directory.team.empty()) out.bytes(directory.team).u8(0);
  for (std::uint32_t slot = layout.specialSlots; slot > 0; --slot) {
    const auto found = directory.specialHashes.find(static_cast<CodeSlot>(slot));
    out.bytes(found == directory.specialHashes.end() ? std::string(hashSize, '\0') : found->second);
  }
  out.bytes(directory.pageHashes);
  return out.blob();
}

}  // namespace quillon
