#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace quillon {

/// Memory that only grows and goes away as a whole. For trivial types.
class PropertyListArena {
 public:
  /// Memory for `count` objects of type T, uninitialised.
  template <typename T>
  [[nodiscard]] T* allocate(std::size_t count) {
    static_assert(alignof(T) <= kAlignment);
    const std::size_t bytes = (count * sizeof(T) + kAlignment - 1) & ~(kAlignment - 1);
    if (bytes > remaining_) addBlock(bytes);
    void* memory = next_;
    next_ += bytes;
    remaining_ -= bytes;
    return static_cast<T*>(memory);
  }

  /// A copy of `text`.
  [[nodiscard]] std::string_view copy(std::string_view text) {
    char* memory = allocate<char>(text.size());
    std::copy(text.begin(), text.end(), memory);
    return {memory, text.size()};
  }

 private:
  static constexpr std::size_t kAlignment = 8;
  static constexpr std::size_t kFirstBlock = std::size_t{4} * 1024;
  static constexpr std::size_t kLargestBlock = std::size_t{1024} * 1024;

  void addBlock(std::size_t atLeast) {
    const std::size_t size = std::max(atLeast, nextBlock_);
    nextBlock_ = std::min(nextBlock_ * 2, kLargestBlock);
    // Not make_unique: it would write zeros into memory that is about to be filled.
    blocks_.emplace_back(new std::byte[size]);
    next_ = blocks_.back().get();
    remaining_ = size;
  }

  std::vector<std::unique_ptr<std::byte[]>> blocks_;
  std::byte* next_ = nullptr;
  std::size_t remaining_ = 0;
  std::size_t nextBlock_ = kFirstBlock;
};

}  // namespace quillon
