#include "CodeSignature/MachOCode.h"

#include <algorithm>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/SignatureFolder.h"

namespace quillon {
namespace {

constexpr std::uint64_t kInformationLimit = 16 << 20;
/// Hashes take one byte for every 75 of code or more; everything else in a signature is small.
constexpr std::uint64_t kSignatureBase = 64 << 20;
constexpr std::uint64_t kCodePerSignatureByte = 16;

bool isSpecialSlot(CodeSlot slot) {
  return slot > CodeSlot::codeDirectory && slot < CodeSlot::alternateCodeDirectory;
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

std::string MachOCode::read(std::uint64_t offset, std::uint64_t length) const {
  std::string bytes(length, '\0');
  std::uint64_t done = 0;
  while (done < length) {
    const std::size_t count = readCode(offset + done, std::span(bytes).subspan(done));
    if (count == 0) break;
    done += count;
  }
  bytes.resize(done);
  return bytes;
}

const EmbeddedSignature& MachOCode::embedded() const {
  if (embedded_) return *embedded_;
  const MachOSignatureCommand& command = *slice_.image.signature;
  if (command.dataLength > kSignatureBase + slice_.length / kCodePerSignatureByte) {
    throw CodeSignatureError(CodeSignatureErrorCode::signatureInvalid);
  }
  EmbeddedSignature signature = EmbeddedSignature::parse(read(command.dataOffset, command.dataLength));
  for (const CodeSlot slot : signature.slots()) {
    // Something that no directory of today can seal may be read by a program of tomorrow.
    const bool canBeSealed = !isSpecialSlot(slot) || static_cast<std::uint32_t>(slot) <= kLastSpecialSlot;
    if (!canBeSealed) throw CodeSignatureError(CodeSignatureErrorCode::signatureFailed);
  }
  return embedded_.emplace(std::move(signature));
}

std::optional<std::string> MachOCode::informationSection() const {
  const MachOSection* section = slice_.image.findSection("__TEXT", "__info_plist");
  if (section == nullptr) return std::nullopt;
  if (section->length > kInformationLimit) throw CodeSignatureError(CodeSignatureErrorCode::badObjectFormat);
  return read(section->fileOffset, section->length);
}

}  // namespace quillon
