#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quillon {

/// Reads the big-endian integers of signature blobs. Offsets are 64 bits wide, so that no sum of two 32-bit fields of a
/// hostile blob can wrap; what lies outside the bytes is absent.
class BlobReader {
 public:
  explicit BlobReader(std::string_view bytes) noexcept : bytes_(bytes) {}

  [[nodiscard]] std::uint64_t size() const noexcept { return bytes_.size(); }

  [[nodiscard]] std::optional<std::string_view> bytes(std::uint64_t offset, std::uint64_t length) const noexcept {
    if (offset > bytes_.size() || length > bytes_.size() - offset) return std::nullopt;
    return bytes_.substr(offset, length);
  }

  [[nodiscard]] std::optional<std::uint8_t> u8(std::uint64_t offset) const noexcept {
    const auto value = integer(offset, 1);
    return value ? std::optional(static_cast<std::uint8_t>(*value)) : std::nullopt;
  }
  [[nodiscard]] std::optional<std::uint32_t> u32(std::uint64_t offset) const noexcept {
    const auto value = integer(offset, 4);
    return value ? std::optional(static_cast<std::uint32_t>(*value)) : std::nullopt;
  }
  [[nodiscard]] std::optional<std::uint64_t> u64(std::uint64_t offset) const noexcept { return integer(offset, 8); }

  /// The text from `offset` to the next NUL byte, which must exist.
  [[nodiscard]] std::optional<std::string_view> terminatedText(std::uint64_t offset) const noexcept {
    if (offset >= bytes_.size()) return std::nullopt;
    const std::size_t end = bytes_.find('\0', offset);
    if (end == std::string_view::npos) return std::nullopt;
    return bytes_.substr(offset, end - offset);
  }

 private:
  [[nodiscard]] std::optional<std::uint64_t> integer(std::uint64_t offset, std::uint64_t width) const noexcept {
    const auto field = bytes(offset, width);
    if (!field) return std::nullopt;
    std::uint64_t value = 0;
    for (const char byte : *field) value = (value << 8) | static_cast<unsigned char>(byte);
    return value;
  }

  std::string_view bytes_;
};

}  // namespace quillon
