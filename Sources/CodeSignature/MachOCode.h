#pragma once

#include "CodeSignature/BundleLayout.h"
#include "CodeSignature/CodeRepresentation.h"
#include "CodeSignature/EmbeddedSignature.h"
#include "CodeSignature/MachOFile.h"

namespace quillon {

/// One architecture of an object file: its image up to the signature is code, and the signature parts are in the image.
/// Only Info.plist and the resource seal are files, of the bundle around it.
class MachOCode final : public CodeRepresentation {
 public:
  /// `file` and `bundle` are borrowed; `bundle` is null for an object file without bundle.
  MachOCode(const FileDescriptor& file, MachOSlice slice, const BundleLayout* bundle);

  [[nodiscard]] std::optional<std::string> signaturePart(CodeSlot slot) const override;
  [[nodiscard]] std::uint64_t codeLength() const override;
  [[nodiscard]] std::size_t readCode(std::uint64_t offset, std::span<char> block) const override;
  [[nodiscard]] std::string architecture() const override { return slice_.architecture(); }
  [[nodiscard]] std::optional<MachOVersion> version() const override { return slice_.image.version; }
  [[nodiscard]] bool hasInformationInCode() const override { return bundle_ == nullptr; }

 private:
  [[nodiscard]] std::string read(std::uint64_t offset, std::uint64_t length) const;
  [[nodiscard]] const EmbeddedSignature& embedded() const;
  [[nodiscard]] std::optional<std::string> informationSection() const;

  const FileDescriptor& file_;
  MachOSlice slice_;
  const BundleLayout* bundle_;
  /// Read when it is first asked for, so that a damaged one is reported by whoever checks it. One thread.
  mutable std::optional<EmbeddedSignature> embedded_;
};

}  // namespace quillon
