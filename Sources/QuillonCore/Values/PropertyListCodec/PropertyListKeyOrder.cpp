#include "QuillonCore/Values/PropertyListCodec/PropertyListKeyOrder.h"

#include "QuillonCore/Values/QuillonPropertyListCodec.h"

#include <cstring>

namespace quillon {
namespace {

// Sorting keys that are not shared looks at each byte about log2(count) times, which is less than 32.
constexpr std::size_t kBytesPerInputByte = 128;
constexpr std::size_t kBytesForSmallInput = std::size_t{1024} * 1024;
// Keys that differ here cost no more than a step of the sort itself.
constexpr std::size_t kFreeBytes = 16;

}  // namespace

PropertyListKeyOrder::PropertyListKeyOrder(std::size_t inputSize) noexcept
    : remaining_(inputSize * kBytesPerInputByte + kBytesForSmallInput) {}

int PropertyListKeyOrder::compare(std::string_view a, std::string_view b) {
  if (a.data() == b.data() && a.size() == b.size()) return 0;
  const std::size_t free = std::min({a.size(), b.size(), kFreeBytes});
  const int start = free == 0 ? 0 : std::memcmp(a.data(), b.data(), free);
  if (start != 0) return start;
  const std::size_t cost = std::min(a.size(), b.size()) - free;
  if (cost > remaining_) failForTooManyComparisons();
  remaining_ -= cost;
  return a.substr(free).compare(b.substr(free));
}

void PropertyListKeyOrder::failForTooManyComparisons() {
  throw QuillonPropertyListError("Not a property list: its dictionaries share too many long keys");
}

}  // namespace quillon
