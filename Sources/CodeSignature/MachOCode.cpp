#include "CodeSignature/MachOCode.h"

#include <algorithm>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/FileRange.h"
#include "CodeSignature/SignatureFolder.h"

namespace quillon {
namespace {

/// Hashes take one byte for every 75 of code or more; everything else in a signature is small.
constexpr std::uint64_t kSignatureBase = 64 << 20;
constexpr std::uint64_t kCodePerSignatureByte = 16;

/// Parts that belong to no signature: who signed, and the ticket of a notarization.
constexpr std::uint32_t kUnsignedParts = 2;

/// Whether something reads the part in this slot, and something vouches for it.
bool isKnownSlot(CodeSlot slot) {
  const auto number = static_cast<std::uint32_t>(slot);
  const auto isAmong = [number](CodeSlot first, std::uint32_t count) {
    const auto begin = static_cast<std::uint32_t>(first);
    return number >= begin && number - begin < count;
  };
  return number <= kLastSpecialSlot || isAmong(CodeSlot::alternateCodeDirectory, kAlternateCodeDirectoryLimit) ||
         isAmong(CodeSlot::signature, 1 + kUnsignedParts);
}

}  // namespace

MachOCode::MachOCode(const FileDescriptor& file, MachOSlice slice, const BundleLayout* bundle)
    : file_(file), slice_(std::move(slice)), bundle_(bundle) {}

std::optional<std::string> MachOCode::signaturePart(CodeSlot slot) const {
  if (slot == CodeSlot::infoPropertyList) {
    if (!bundle_) return informationSection();
    return bundle_->hasInformation ? std::optional(bundle_->informationBytes) : std::nullopt;
  }
  if (slot == CodeSlot::resources) return bundle_ ? readSignatureFile(*bundle_, slot) : std::nullopt;
  if (slice_.image.signature) {
    if (std::optional<std::string> part = embedded().part(slot)) return part;
  }
  // Readers that prefer one place would see another signature than readers that prefer the other.
  const std::optional<std::string> file = bundle_ ? readSignatureFile(*bundle_, slot) : std::nullopt;
  if (file && !file->empty()) throw CodeSignatureError(CodeSignatureErrorCode::signatureFailed);
  return std::nullopt;
}

std::uint64_t MachOCode::codeLength() const {
  return slice_.image.signature ? slice_.image.signature->dataOffset : slice_.length;
}

std::size_t MachOCode::readCode(std::uint64_t offset, std::span<char> block) const {
  if (offset >= slice_.length) return 0;
  return readFileAt(file_, slice_.offset + offset,
                    block.first(std::min<std::uint64_t>(block.size(), slice_.length - offset)));
}

const EmbeddedSignature& MachOCode::embedded() const {
  if (embedded_) return *embedded_;
  const MachOSignatureCommand& command = *slice_.image.signature;
  if (command.dataLength > kSignatureBase + slice_.length / kCodePerSignatureByte) {
    throw CodeSignatureError(CodeSignatureErrorCode::signatureInvalid);
  }
  EmbeddedSignature signature =
      EmbeddedSignature::parse(readFileRangeUpTo(file_, slice_.offset + command.dataOffset, command.dataLength));
  // What no directory can seal would be a place for data of others, or be read by a program of tomorrow.
  if (!std::ranges::all_of(signature.slots(), isKnownSlot)) {
    throw CodeSignatureError(CodeSignatureErrorCode::signatureFailed);
  }
  return embedded_.emplace(std::move(signature));
}

std::optional<std::string> MachOCode::informationSection() const {
  const MachOSection* section = slice_.image.findSection("__TEXT", "__info_plist");
  if (section == nullptr) return std::nullopt;
  if (section->length > kInformationLengthLimit) throw CodeSignatureError(CodeSignatureErrorCode::badObjectFormat);
  return readFileRangeUpTo(file_, slice_.offset + section->fileOffset, section->length);
}

}  // namespace quillon
