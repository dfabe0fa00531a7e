#include "CodeSignature/GenericBundleCode.h"

#include "CodeSignature/SignatureFolder.h"

namespace quillon {

std::optional<std::string> GenericBundleCode::signaturePart(CodeSlot slot) const {
  if (slot == CodeSlot::infoPropertyList) {
    return layout_.hasInformation ? std::optional(layout_.informationBytes) : std::nullopt;
  }
  return readSignatureFile(layout_, slot);
}

std::uint64_t GenericBundleCode::codeLength() const {
  return fileLength(layout_.mainExecutableFile);
}

std::size_t GenericBundleCode::readCode(std::uint64_t offset, std::span<char> block) const {
  return readFileAt(layout_.mainExecutableFile, offset, block);
}

}  // namespace quillon
