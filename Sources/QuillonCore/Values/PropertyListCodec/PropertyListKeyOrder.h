#pragma once

#include "QuillonCore/Values/PropertyListCodec/PropertyListTree.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace quillon {

/// Compares keys of dictionaries, counting the bytes looked at against a limit that is linear in the size of the input.
/// Keys of a binary list can be shared: without the limit a small file could ask for the comparison of the same long
/// keys again and again. Throws QuillonPropertyListError at the limit.
class PropertyListKeyOrder {
 public:
  explicit PropertyListKeyOrder(std::size_t inputSize) noexcept;

  /// Below, equal to or above zero as `a` is less than, equal to or greater than `b` by bytes.
  [[nodiscard]] int compare(std::string_view a, std::string_view b);

  /// Whether two of the `count` keys are equal. For small dictionaries: keys are compared with all before them, but
  /// only those whose fingerprint has been seen.
  template <typename KeyAt>
  [[nodiscard]] bool haveDuplicate(std::size_t count, KeyAt keyAt) {
    std::uint64_t seen = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const std::string_view key = keyAt(i);
      const std::uint64_t bit = std::uint64_t{1} << fingerprint(key);
      if ((seen & bit) != 0) {
        for (std::size_t k = 0; k < i; ++k) {
          if (areEqual(key, keyAt(k))) return true;
        }
      }
      seen |= bit;
    }
    return false;
  }

  /// Sorts `positions` by the keys that they stand for, equal keys by position.
  template <typename KeyAt>
  void sort(std::span<std::uint32_t> positions, KeyAt keyAt) {
    std::sort(positions.begin(), positions.end(), [&](std::uint32_t a, std::uint32_t b) {
      const int order = compare(keyAt(a), keyAt(b));
      return order < 0 || (order == 0 && a < b);
    });
  }

 private:
  /// A number below 64 that equal keys share.
  [[nodiscard]] static unsigned fingerprint(std::string_view key) noexcept {
    if (key.empty()) return 0;
    const auto byte = [&](std::size_t i) { return static_cast<unsigned>(static_cast<unsigned char>(key[i])); };
    const unsigned mixed = byte(0) + 5 * byte(key.size() / 2) + 11 * byte(key.size() - 1);
    return (mixed + 7 * static_cast<unsigned>(key.size() & 0xFF)) & 63;
  }
  [[nodiscard]] bool areEqual(std::string_view a, std::string_view b) {
    return a.size() == b.size() && compare(a, b) == 0;
  }
  [[noreturn]] static void failForTooManyComparisons();

  std::size_t remaining_;
};

}  // namespace quillon
