#include "QuillonCore/Values/QuillonUUID.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <random>

namespace quillon {
namespace {

constexpr std::string_view kHex = "0123456789ABCDEF";
/// Of the 36 characters, 'x' is a hexadecimal digit and 'v' one of the variant of RFC 9562.
constexpr std::string_view kForm = "xxxxxxxx-xxxx-4xxx-vxxx-xxxxxxxxxxxx";
constexpr std::string_view kVariantDigits = "89AB";

bool fits(char character, char form) noexcept {
  if (form == 'x') return kHex.find(character) != std::string_view::npos;
  if (form == 'v') return kVariantDigits.find(character) != std::string_view::npos;
  return character == form;
}

}  // namespace

std::string makeUUIDString() {
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

bool isUUIDString(std::string_view text) noexcept {
  return std::equal(text.begin(), text.end(), kForm.begin(), kForm.end(), fits);
}

}  // namespace quillon
