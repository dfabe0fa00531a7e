#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "CodeSignature/CodeHash.h"
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

  /// Feeds the code from `offset` on to `hasher`, `length` bytes or up to the end. Throws QuillonSystemError.
  virtual void hashCode(std::uint64_t offset, std::uint64_t length, CodeHasher& hasher) const = 0;

  /// What kind of code it is, as displays name it: "generic".
  [[nodiscard]] virtual std::string formatName() const = 0;
};

}  // namespace quillon
