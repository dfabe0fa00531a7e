#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CodeSignature/SpecialSlots.h"

namespace quillon {

/// The signature inside an object file: an index of blobs by slot ("super blob", cs_blobs.h).
class EmbeddedSignature {
 public:
  /// Takes the bytes of the signature command's extent; zero padding may stand between the blobs and behind them.
  /// Throws CodeSignatureError(signatureInvalid) for a damaged index, blobs beyond it, overlapping blobs, two entries
  /// for one slot, or padding that is not zero.
  [[nodiscard]] static EmbeddedSignature parse(std::string bytes);

  /// The part as representations give it: whole blobs for code directories, requirements, entitlements and constraints;
  /// the payload of a wrapper for all others. Throws CodeSignatureError(signatureInvalid) when one that must be wrapped
  /// is not.
  [[nodiscard]] std::optional<std::string> part(CodeSlot slot) const;
  /// Every slot with a blob, ascending.
  [[nodiscard]] std::vector<CodeSlot> slots() const;

 private:
  struct Extent {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
  };

  explicit EmbeddedSignature(std::string bytes) : bytes_(std::move(bytes)) {}
  void checkExtents(std::uint64_t indexEnd) const;

  std::string bytes_;
  std::map<CodeSlot, Extent> blobs_;
};

/// Writes the super blob of `parts` (as `EmbeddedSignature::part` gives them), slots ascending. Throws
/// CodeSignatureError(signatureInvalid) when a part that has to be a blob is none, or all are more than 4 GiB.
[[nodiscard]] std::string buildEmbeddedSignature(const std::map<CodeSlot, std::string>& parts);

}  // namespace quillon
