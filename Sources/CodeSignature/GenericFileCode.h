#pragma once

#include "CodeSignature/CodeRepresentation.h"
#include "CodeSignature/FileOpening.h"

namespace quillon {

/// A single file that is no object file: all of it is code, and the signature parts are extended attributes.
/// Attributes that the platform calls `com.apple.cs.NAME` are `user.com.apple.cs.NAME` here, where only names that
/// begin with "user." are free for everyone (xattr(7)).
class GenericFileCode final : public CodeRepresentation {
 public:
  /// `file` is borrowed.
  explicit GenericFileCode(const FileDescriptor& file) : file_(file) {}

  [[nodiscard]] std::optional<std::string> signaturePart(CodeSlot slot) const override;
  [[nodiscard]] std::uint64_t codeLength() const override;
  [[nodiscard]] std::size_t readCode(std::uint64_t offset, std::span<char> block) const override;

 private:
  const FileDescriptor& file_;
};

}  // namespace quillon
