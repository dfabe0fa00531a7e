#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ZipArchive/ZipArchiveError.h"

namespace quillon {

/// Reads a zip record's little-endian fields one after the other. Throws ZipArchiveError where the bytes end too early.
class ZipByteReader {
 public:
  explicit ZipByteReader(std::string_view bytes) noexcept : bytes_(bytes) {}

  [[nodiscard]] std::size_t remaining() const noexcept { return bytes_.size(); }
  [[nodiscard]] std::string_view rest() const noexcept { return bytes_; }

  std::string_view take(std::size_t length) {
    if (length > bytes_.size()) throw ZipArchiveError::damaged("a record ends too early");
    const std::string_view taken = bytes_.substr(0, length);
    bytes_.remove_prefix(length);
    return taken;
  }
  void skip(std::size_t length) { (void)take(length); }
  std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
  std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
  std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
  std::uint64_t u64() { return number(8); }

 private:
  std::uint64_t number(std::size_t length) {
    const std::string_view taken = take(length);
    std::uint64_t value = 0;
    for (std::size_t i = length; i-- > 0;) value = value << 8 | static_cast<unsigned char>(taken[i]);
    return value;
  }

  std::string_view bytes_;
};

}  // namespace quillon
