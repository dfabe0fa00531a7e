#include "CodeSignature/EmbeddedSignature.h"

#include <algorithm>
#include <utility>

#include "CodeSignature/BlobBuilder.h"
#include "CodeSignature/BlobReader.h"
#include "CodeSignature/CodeSignatureError.h"

namespace quillon {
namespace {

constexpr std::uint32_t kSuperBlobMagic = 0xFADE0CC0;
constexpr std::uint32_t kWrapperMagic = 0xFADE0B01;
constexpr std::uint64_t kSuperBlobHeaderSize = 12;
constexpr std::uint64_t kEntrySize = 8;
constexpr std::uint64_t kBlobHeaderSize = 8;
/// Far more than there are kinds of parts.
constexpr std::uint64_t kEntryLimit = 256;

[[noreturn]] void fail() {
  throw CodeSignatureError(CodeSignatureErrorCode::signatureInvalid);
}

void require(bool condition) {
  if (!condition) fail();
}

template <typename T>
T require(const std::optional<T>& value) {
  if (!value) fail();
  return *value;
}

/// Whether the slot's content is a blob of its own kind. Everything else has no header and is wrapped into one.
bool isBlobSlot(CodeSlot slot) {
  switch (slot) {
    case CodeSlot::codeDirectory:
    case CodeSlot::requirements:
    case CodeSlot::entitlements:
    case CodeSlot::entitlementsDER:
    case CodeSlot::launchConstraintSelf:
    case CodeSlot::launchConstraintParent:
    case CodeSlot::launchConstraintResponsible:
    case CodeSlot::libraryConstraint:
      return true;
    default:
      break;
  }
  const auto number = static_cast<std::uint32_t>(slot);
  const auto alternate = static_cast<std::uint32_t>(CodeSlot::alternateCodeDirectory);
  return number >= alternate && number < alternate + kAlternateCodeDirectoryLimit;
}

bool isBlob(std::string_view part) {
  return part.size() >= kBlobHeaderSize && BlobReader(part).u32(4) == part.size();
}

/// Length of the super blob, whose bytes begin `bytes`.
std::uint64_t superBlobLength(std::string_view bytes) {
  const BlobReader reader(bytes);
  require(reader.u32(0) == kSuperBlobMagic);
  const std::uint64_t length = require(reader.u32(4));
  require(length >= kSuperBlobHeaderSize && length <= bytes.size());
  return length;
}

}  // namespace

EmbeddedSignature EmbeddedSignature::parse(std::string bytes) {
  EmbeddedSignature signature(std::move(bytes));
  const BlobReader reader(std::string_view(signature.bytes_).substr(0, superBlobLength(signature.bytes_)));
  const std::uint64_t count = require(reader.u32(8));
  const std::uint64_t indexEnd = kSuperBlobHeaderSize + count * kEntrySize;
  require(count <= kEntryLimit && indexEnd <= reader.size());
  for (std::uint64_t entry = kSuperBlobHeaderSize; entry < indexEnd; entry += kEntrySize) {
    Extent blob{require(reader.u32(entry + 4)), 0};
    if (blob.offset != 0) {
      blob.length = require(reader.u32(blob.offset + 4));
      require(blob.offset >= indexEnd && blob.length >= kBlobHeaderSize);
      require(reader.bytes(blob.offset, blob.length).has_value());
    }
    // Two readers could disagree on which of two entries counts.
    require(signature.blobs_.emplace(static_cast<CodeSlot>(require(reader.u32(entry))), blob).second);
  }
  // Offset 0 marks a slot that is kept in the index and left empty.
  std::erase_if(signature.blobs_, [](const auto& slot) { return slot.second.offset == 0; });
  signature.checkExtents(indexEnd);
  return signature;
}

/// What lies outside of the index and the blobs is covered by no hash: only padding may be there.
void EmbeddedSignature::checkExtents(std::uint64_t indexEnd) const {
  std::vector<Extent> blobs;
  for (const auto& [slot, blob] : blobs_) blobs.push_back(blob);
  std::ranges::sort(blobs, {}, &Extent::offset);
  blobs.push_back({.offset = bytes_.size(), .length = 0});
  std::uint64_t end = indexEnd;
  for (const Extent& blob : blobs) {
    require(blob.offset >= end && bytes_.find_first_not_of('\0', end) >= blob.offset);
    end = blob.offset + blob.length;
  }
}

std::optional<std::string> EmbeddedSignature::part(CodeSlot slot) const {
  const auto found = blobs_.find(slot);
  if (found == blobs_.end()) return std::nullopt;
  const std::string_view blob = std::string_view(bytes_).substr(found->second.offset, found->second.length);
  if (isBlobSlot(slot)) return std::string(blob);
  require(BlobReader(blob).u32(0) == kWrapperMagic);
  return std::string(blob.substr(kBlobHeaderSize));
}

std::vector<CodeSlot> EmbeddedSignature::slots() const {
  std::vector<CodeSlot> slots;
  for (const auto& [slot, blob] : blobs_) slots.push_back(slot);
  return slots;
}

std::string buildEmbeddedSignature(const std::map<CodeSlot, std::string>& parts) {
  const std::uint64_t indexEnd = kSuperBlobHeaderSize + parts.size() * kEntrySize;
  std::uint64_t length = indexEnd;
  for (const auto& [slot, part] : parts) {
    require(!isBlobSlot(slot) || isBlob(part));
    length += part.size() + (isBlobSlot(slot) ? 0 : kBlobHeaderSize);
  }
  require(length <= UINT32_MAX);
  BlobBuilder index;
  index.u32(kSuperBlobMagic).u32(static_cast<std::uint32_t>(length)).u32(static_cast<std::uint32_t>(parts.size()));
  BlobBuilder blobs;
  for (const auto& [slot, part] : parts) {
    index.u32(static_cast<std::uint32_t>(slot)).u32(static_cast<std::uint32_t>(indexEnd + blobs.size()));
    if (!isBlobSlot(slot)) blobs.u32(kWrapperMagic).u32(static_cast<std::uint32_t>(kBlobHeaderSize + part.size()));
    blobs.bytes(part);
  }
  return index.bytes(blobs.blob()).blob();
}

}  // namespace quillon
