#include "QuillonCore/Values/QuillonUUID.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string_view>

namespace quillon {

std::string makeUUIDString() {
  static constexpr std::string_view kHex = "0123456789ABCDEF";
  std::random_device device;
  std::array<std::uint8_t, 16> bytes{};
  for (std::size_t i = 0; i < bytes.size(); i += 4) {
    const std::uint32_t word = device();
    for (std::size_t j = 0; j < 4; ++j) bytes.at(i + j) = static_cast<std::uint8_t>(word >> (8 * j));
  }
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // variant of RFC 9562
  std::string text;
  text.reserve(36);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += kHex[bytes.at(i) >> 4];
    text += kHex[bytes.at(i) & 15];
  }
  return text;
}

}  // namespace quillon
