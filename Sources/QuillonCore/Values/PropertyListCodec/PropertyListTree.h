#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "QuillonCore/Values/PropertyListCodec/PropertyListArena.h"

namespace quillon {

/// Input from this size on is refused: positions and counts take 32 bits.
inline constexpr std::size_t kPropertyListSizeLimit = std::size_t{1} << 32;

/// Deepest nesting of arrays and dictionaries that is read.
inline constexpr std::size_t kPropertyListDepthLimit = 512;

/// What a value of a property list is.
enum class PropertyListType : std::uint8_t { boolean, integer, real, string, data, date, array, dictionary };

struct PropertyListRecord;

/// Children of a dictionary with many entries, and the positions of its entries in the order of their keys.
struct PropertyListIndexedChildren {
  const void* children;
  const std::uint32_t* sortedPositions;
};

/// One value. What a container's pointer leads to depends on the tree, see PropertyListTree.
struct PropertyListRecord {
  union {
    std::int64_t integer;                        // boolean, integer; microseconds since 1970 of a date
    double real;                                 // real
    const char* text;                            // string, data
    const void* children;                        // array, small dictionary
    const PropertyListIndexedChildren* indexed;  // dictionary with `isIndexed`
  };
  std::uint32_t size = 0;  // bytes of a string or data, elements of an array, entries of a dictionary
  PropertyListType type = PropertyListType::boolean;
  bool isIndexed = false;
  bool isReferenced = false;  // container of a binary list that has its parent

  [[nodiscard]] std::string_view string() const noexcept { return {text, size}; }
  /// Whether a string is `other`. Most keys differ in their length or their last character, which spares a call.
  [[nodiscard]] bool isText(std::string_view other) const noexcept {
    if (size != other.size()) return false;
    return other.empty() || (text[other.size() - 1] == other.back() && string() == other);
  }

  static PropertyListRecord ofInteger(PropertyListType type, std::int64_t value) noexcept;
  static PropertyListRecord ofReal(double value) noexcept;
  static PropertyListRecord ofText(PropertyListType type, std::string_view text) noexcept {
    PropertyListRecord record;
    record.text = text.data();
    record.size = static_cast<std::uint32_t>(text.size());
    record.type = type;
    return record;
  }
  static PropertyListRecord ofChildren(PropertyListType type, const void* children, std::size_t count) noexcept {
    PropertyListRecord record;
    record.children = children;
    record.size = static_cast<std::uint32_t>(count);
    record.type = type;
    return record;
  }
};

/// A property list that has been read, flat in memory. There are two layouts:
///
/// - A text list's children are records side by side: elements, or key, value, key, value.
/// - A binary list's records are its objects by number, and children are the object references in the file itself:
///   big-endian numbers of `referenceSize` bytes; all keys of a dictionary come before all its values.
class PropertyListTree {
 public:
  PropertyListTree() = default;
  PropertyListTree(const PropertyListTree&) = delete;
  PropertyListTree& operator=(const PropertyListTree&) = delete;

  [[nodiscard]] const PropertyListRecord& root() const noexcept { return *root_; }
  /// Element `index` of the array `array`.
  [[nodiscard]] const PropertyListRecord& element(const PropertyListRecord& array, std::size_t index) const noexcept {
    return child(array.children, index);
  }
  /// Key and value of entry `index` of `dictionary`.
  [[nodiscard]] const PropertyListRecord& key(const PropertyListRecord& dictionary, std::size_t index) const noexcept {
    return child(childrenOf(dictionary), referenceSize_ == 0 ? 2 * index : index);
  }
  [[nodiscard]] const PropertyListRecord& value(const PropertyListRecord& dictionary,
                                                std::size_t index) const noexcept {
    return child(childrenOf(dictionary), referenceSize_ == 0 ? 2 * index + 1 : dictionary.size + index);
  }
  /// The value of `key` in `dictionary`, else null.
  [[nodiscard]] const PropertyListRecord* find(const PropertyListRecord& dictionary,
                                               std::string_view key) const noexcept {
    if (dictionary.isIndexed) return findByIndex(dictionary, key);
    for (std::size_t i = 0; i < dictionary.size; ++i) {
      if (this->key(dictionary, i).isText(key)) return &value(dictionary, i);
    }
    return nullptr;
  }

  /// The keys that a text list gives to `dictionary` more than once, each once, in their order. A binary list with such
  /// keys is refused.
  [[nodiscard]] std::span<const std::string_view> repeatedKeys(const PropertyListRecord& dictionary) const noexcept;

  /// The bytes that the tree's strings are views into, when it has been given them to keep.
  std::string ownedBytes;
  /// Where decoded strings and children lie.
  PropertyListArena arena;

  /// Makes this the tree of a text list.
  void setRoot(const PropertyListRecord& root);
  /// Keeps the repeated keys of the dictionary of a text list with these children.
  void setRepeatedKeys(const PropertyListRecord* children, std::vector<std::string_view> keys);
  /// Makes this the tree of a binary list.
  void setObjects(std::unique_ptr<PropertyListRecord[]> objects, std::size_t rootIndex,
                  unsigned referenceSize) noexcept;

  /// The `size`-byte big-endian number at `bytes`, of which eight are readable.
  [[nodiscard]] static std::uint64_t bigEndian(const void* bytes, unsigned size) noexcept {
    std::uint64_t number;
    std::memcpy(&number, bytes, sizeof number);
    if constexpr (std::endian::native == std::endian::little) number = __builtin_bswap64(number);
    return number >> (64 - 8 * size);
  }

 private:
  static const void* childrenOf(const PropertyListRecord& dictionary) noexcept {
    return dictionary.isIndexed ? dictionary.indexed->children : dictionary.children;
  }
  [[nodiscard]] const PropertyListRecord* findByIndex(const PropertyListRecord& dictionary,
                                                      std::string_view key) const noexcept;
  [[nodiscard]] const PropertyListRecord& child(const void* children, std::size_t index) const noexcept {
    if (referenceSize_ == 0) return static_cast<const PropertyListRecord*>(children)[index];
    return objects_[bigEndian(static_cast<const char*>(children) + index * referenceSize_, referenceSize_)];
  }

  const PropertyListRecord* root_ = nullptr;
  std::unique_ptr<PropertyListRecord[]> objects_;
  unsigned referenceSize_ = 0;                                                   // 0 for a text list
  std::unordered_map<const void*, std::vector<std::string_view>> repeatedKeys_;  // by the children of a dictionary
};

/// Most entries of a dictionary that is searched from end to end; longer ones are indexed.
inline constexpr std::uint32_t kPropertyListLinearSearchLimit = 16;

}  // namespace quillon
