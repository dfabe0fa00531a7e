#include "CodeSignature/RequirementSet.h"

#include "CodeSignature/BlobBuilder.h"
#include "CodeSignature/BlobReader.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/RequirementCodec.h"

namespace quillon {
namespace {

constexpr std::uint32_t kMagic = 0xFADE0C01;
constexpr std::uint64_t kHeaderSize = 12;
constexpr std::uint64_t kEntrySize = 8;

[[noreturn]] void fail(CodeSignatureErrorCode code = CodeSignatureErrorCode::requirementInvalid) {
  throw CodeSignatureError(code);
}

RequirementExpression requirementAt(const BlobReader& reader, std::uint64_t offset) {
  const auto length = reader.u32(offset + 4);
  if (!length) fail();
  const auto blob = reader.bytes(offset, *length);
  if (!blob) fail();
  return parseRequirementBlob(*blob);
}

}  // namespace

RequirementSet parseRequirementSet(std::string_view blob) {
  const BlobReader reader(blob);
  const auto count = reader.u32(8);
  if (reader.u32(0) != kMagic || reader.u32(4) != blob.size() || !count) fail();
  const std::uint64_t indexEnd = kHeaderSize + kEntrySize * *count;
  if (indexEnd > blob.size()) fail();
  RequirementSet set;
  for (std::uint64_t entry = kHeaderSize; entry < indexEnd; entry += kEntrySize) {
    const std::uint32_t type = *reader.u32(entry);
    const std::uint32_t offset = *reader.u32(entry + 4);
    if (type < 1 || type > 5) fail(CodeSignatureErrorCode::requirementUnsupported);
    if (offset < indexEnd) fail();
    if (!set.emplace(static_cast<RequirementPurpose>(type), requirementAt(reader, offset)).second) fail();
  }
  return set;
}

std::string buildRequirementSet(const RequirementSet& set) {
  BlobBuilder index;
  BlobBuilder blobs;
  const std::uint64_t indexEnd = kHeaderSize + kEntrySize * set.size();
  for (const auto& [purpose, expression] : set) {
    index.u32(static_cast<std::uint32_t>(purpose)).u32(static_cast<std::uint32_t>(indexEnd + blobs.size()));
    blobs.bytes(buildRequirementBlob(expression));
  }
  BlobBuilder out;
  out.u32(kMagic).u32(static_cast<std::uint32_t>(indexEnd + blobs.size())).u32(static_cast<std::uint32_t>(set.size()));
  return out.bytes(index.blob()).bytes(blobs.blob()).blob();
}

}  // namespace quillon
