#pragma once

#include <cstdint>
#include <string_view>

namespace quillon {

/// Tags (identifier octets) of the ASN.1 types that signatures are made of (X.690).
enum class BERTag : std::uint8_t {
  boolean = 0x01,
  integer = 0x02,
  bitString = 0x03,
  octetString = 0x04,
  null = 0x05,
  objectIdentifier = 0x06,
  utcTime = 0x17,
  generalizedTime = 0x18,
  sequence = 0x30,
  set = 0x31,
  context0 = 0xA0,
  context1 = 0xA1,
  context4 = 0xA4,
};

/// One encoded value.
struct BERElement {
  /// The whole identifier octet: class, constructed bit and number.
  BERTag tag = BERTag::null;
  /// Without header, and without the end mark of an indefinite length.
  std::string_view content = {};
  /// Header, content and end mark.
  std::string_view whole = {};
};

/// Walks the values that stand one after the other in some bytes. Stricter than BER where writers need no freedom: tags
/// compare as whole octets, lengths are minimal, indefinite lengths stand on constructed values only. General-purpose
/// readers ignore some of these bits, and then a signature could be changed without being noticed.
class BERReader {
 public:
  explicit BERReader(std::string_view bytes) noexcept : rest_(bytes) {}

  [[nodiscard]] bool isAtEnd() const noexcept { return rest_.empty(); }
  /// Whether a value with this tag comes next.
  [[nodiscard]] bool nextHasTag(BERTag tag) const noexcept;
  /// Takes the next value. Throws CodeSignatureError(signatureFailed) when there is none or it is malformed.
  BERElement next();
  /// As `next`, when the value has another tag too.
  BERElement next(BERTag tag);
  /// Throws CodeSignatureError(signatureFailed) unless everything was taken.
  void expectEnd() const;

 private:
  std::string_view rest_;
};

}  // namespace quillon
