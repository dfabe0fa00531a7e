#include "QuillonCore/Values/PropertyListCodec/PropertyListTree.h"

#include <utility>

namespace quillon {
PropertyListRecord PropertyListRecord::ofInteger(PropertyListType type, std::int64_t value) noexcept {
  PropertyListRecord record;
  record.integer = value;
  record.type = type;
  return record;
}

PropertyListRecord PropertyListRecord::ofReal(double value) noexcept {
  PropertyListRecord record;
  record.real = value;
  record.type = PropertyListType::real;
  return record;
}

const PropertyListRecord* PropertyListTree::findByIndex(const PropertyListRecord& dictionary,
                                                        std::string_view key) const noexcept {
  const std::uint32_t* const begin = dictionary.indexed->sortedPositions;
  const std::uint32_t* const end = begin + dictionary.size;
  const std::uint32_t* const found =
      std::lower_bound(begin, end, key, [&](std::uint32_t position, std::string_view wanted) {
        return this->key(dictionary, position).string() < wanted;
      });
  if (found == end || this->key(dictionary, *found).string() != key) return nullptr;
  return &value(dictionary, *found);
}

std::span<const std::string_view> PropertyListTree::repeatedKeys(const PropertyListRecord& dictionary) const noexcept {
  // Children of an empty container take no place: their address can be that of others.
  if (repeatedKeys_.empty() || dictionary.size == 0) return {};
  const auto found = repeatedKeys_.find(childrenOf(dictionary));
  return found == repeatedKeys_.end() ? std::span<const std::string_view>() : found->second;
}

void PropertyListTree::setRepeatedKeys(const PropertyListRecord* children, std::vector<std::string_view> keys) {
  repeatedKeys_.insert_or_assign(children, std::move(keys));
}

void PropertyListTree::setRoot(const PropertyListRecord& root) {
  objects_ = std::make_unique<PropertyListRecord[]>(1);
  objects_[0] = root;
  root_ = objects_.get();
  referenceSize_ = 0;
}

void PropertyListTree::setObjects(std::unique_ptr<PropertyListRecord[]> objects, std::size_t rootIndex,
                                  unsigned referenceSize) noexcept {
  objects_ = std::move(objects);
  root_ = &objects_[rootIndex];
  referenceSize_ = referenceSize;
}

}  // namespace quillon
