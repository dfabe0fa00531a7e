#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillon {

/// Writes the big-endian integers of signature blobs.
class BlobBuilder {
 public:
  BlobBuilder& u8(std::uint8_t value) { return integer(value, 1); }
  BlobBuilder& u32(std::uint32_t value) { return integer(value, 4); }
  BlobBuilder& u64(std::uint64_t value) { return integer(value, 8); }
  BlobBuilder& bytes(std::string_view value) {
    blob_.append(value);
    return *this;
  }
  /// A length-prefixed string, padded with zero bytes to a multiple of four (requirement operands).
  BlobBuilder& paddedData(std::string_view value) {
    u32(static_cast<std::uint32_t>(value.size())).bytes(value);
    blob_.append((4 - value.size() % 4) % 4, '\0');
    return *this;
  }
  [[nodiscard]] std::size_t size() const noexcept { return blob_.size(); }
  [[nodiscard]] const std::string& blob() const noexcept { return blob_; }

 private:
  BlobBuilder& integer(std::uint64_t value, unsigned width) {
    for (unsigned shift = width * 8; shift != 0; shift -= 8) blob_ += static_cast<char>((value >> (shift - 8)) & 0xFF);
    return *this;
  }

  std::string blob_;
};

}  // namespace quillon
