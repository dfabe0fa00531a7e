#pragma once

#include "CodeSignature/BundleLayout.h"
#include "CodeSignature/CodeRepresentation.h"

namespace quillon {

/// Code of a bundle whose main executable is no object file: all of the file is code, and the signature parts are files
/// in the `_CodeSignature` folder.
class GenericBundleCode final : public CodeRepresentation {
 public:
  /// `layout` is borrowed. Throws CodeSignatureError(signatureUnsupported) when the main executable is a Mach-O file.
  explicit GenericBundleCode(const BundleLayout& layout);

  [[nodiscard]] std::optional<std::string> signaturePart(CodeSlot slot) const override;
  [[nodiscard]] std::uint64_t codeLength() const override;
  void hashCode(std::uint64_t offset, std::uint64_t length, CodeHasher& hasher) const override;
  [[nodiscard]] std::string formatName() const override;

 private:
  const BundleLayout& layout_;
};

}  // namespace quillon
