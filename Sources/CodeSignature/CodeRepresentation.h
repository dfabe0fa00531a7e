#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "CodeSignature/MachOImage.h"
#include "CodeSignature/SpecialSlots.h"

namespace quillon {

/// Where the code and the signature parts of a code object are. One implementation per way of keeping them.
class CodeRepresentation {
 public:
  virtual ~CodeRepresentation() = default;

  /// The bytes of a signature part; absent when there is none. Code directories are asked for by their number: 0 is the
  /// first, 0x1000 the first alternate. Throws CodeSignatureError.
  [[nodiscard]] virtual std::optional<std::string> signaturePart(CodeSlot slot) const = 0;

  /// Length in bytes of the code that pages cover. Throws QuillonSystemError.
  [[nodiscard]] virtual std::uint64_t codeLength() const = 0;

  /// Reads code from `offset` on into `block`, and says how many bytes there were; 0 at the end. May be called on
  /// several threads at once. Throws QuillonSystemError.
  [[nodiscard]] virtual std::size_t readCode(std::uint64_t offset, std::span<char> block) const = 0;

  /// Name of the processor architecture that this code is for, "arm64"; empty for code that is for none.
  [[nodiscard]] virtual std::string architecture() const { return {}; }
  /// The platform and versions that an object file was built for; absent for other code.
  [[nodiscard]] virtual std::optional<MachOVersion> version() const { return std::nullopt; }
  /// Whether the Info.plist is a part of the code itself, so that the pages' hashes cover it.
  [[nodiscard]] virtual bool hasInformationInCode() const { return false; }
};

}  // namespace quillon
