#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace quillon {

// Dictionaries by their keys. `keyAt` gives the key of a position; keys are compared by their bytes. The work follows
// the bytes of all keys, which in a binary list, where keys are shared, the reader limits before it asks.

/// A number below 64 that equal keys share.
[[nodiscard]] inline unsigned propertyListKeyFingerprint(std::string_view key) noexcept {
  if (key.empty()) return 0;
  const auto byte = [&](std::size_t i) { return static_cast<unsigned>(static_cast<unsigned char>(key[i])); };
  const unsigned mixed = byte(0) + 5 * byte(key.size() / 2) + 11 * byte(key.size() - 1);
  return (mixed + 7 * static_cast<unsigned>(key.size() & 0xFF)) & 63;
}

/// Whether two of the keys at the positions below `count` are equal. For small dictionaries: a key is compared with all
/// before it, but only when its fingerprint has been seen.
template <typename KeyAt>
[[nodiscard]] bool haveDuplicateKey(std::size_t count, KeyAt keyAt) {
  std::uint64_t seen = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string_view key = keyAt(i);
    const std::uint64_t bit = std::uint64_t{1} << propertyListKeyFingerprint(key);
    if ((seen & bit) != 0) {
      for (std::size_t k = 0; k < i; ++k) {
        if (key == keyAt(k)) return true;
      }
    }
    seen |= bit;
  }
  return false;
}

/// Sorts `positions` by their keys, equal keys by position.
template <typename KeyAt>
void sortByKey(std::span<std::uint32_t> positions, KeyAt keyAt) {
  const auto isLess = [&](std::uint32_t a, std::uint32_t b) {
    const int order = keyAt(a).compare(keyAt(b));
    return order < 0 || (order == 0 && a < b);
  };
  // Most writers sort.
  if (std::is_sorted(positions.begin(), positions.end(), isLess)) return;
  std::sort(positions.begin(), positions.end(), isLess);
}

/// Whether two of the keys of `positions`, sorted by sortByKey(), are equal.
template <typename KeyAt>
[[nodiscard]] bool haveEqualNeighbours(std::span<const std::uint32_t> positions, KeyAt keyAt) {
  const auto areEqual = [&](std::uint32_t a, std::uint32_t b) { return keyAt(a) == keyAt(b); };
  return std::adjacent_find(positions.begin(), positions.end(), areEqual) != positions.end();
}

}  // namespace quillon
