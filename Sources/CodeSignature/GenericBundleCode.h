#pragma once

#include "CodeSignature/BundleLayout.h"
#include "CodeSignature/CodeRepresentation.h"

namespace quillon {

/// Code of a bundle whose main executable is no object file, or one without signature of its own: all of the file is
/// code, and the signature parts are files in the `_CodeSignature` folder.
class GenericBundleCode final : public CodeRepresentation {
 public:
  /// `layout` is borrowed.
  explicit GenericBundleCode(const BundleLayout& layout) : layout_(layout) {}

  [[nodiscard]] std::optional<std::string> signaturePart(CodeSlot slot) const override;
  [[nodiscard]] std::uint64_t codeLength() const override;
  [[nodiscard]] std::size_t readCode(std::uint64_t offset, std::span<char> block) const override;

 private:
  const BundleLayout& layout_;
};

}  // namespace quillon
