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
