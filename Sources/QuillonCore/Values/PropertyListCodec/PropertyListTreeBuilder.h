#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "QuillonCore/Values/PropertyListCodec/PropertyListTree.h"

namespace quillon {

/// Puts together the tree of a text list from its values in the order of the text. Keeps the open containers on a stack
/// of its own, so that nesting costs no stack of the machine.
class PropertyListTreeBuilder {
 public:
  explicit PropertyListTreeBuilder(PropertyListTree& tree) : tree_(tree) {}

  [[nodiscard]] std::size_t depth() const noexcept { return open_.size(); }
  [[nodiscard]] bool isAtDepthLimit() const noexcept { return open_.size() == kPropertyListDepthLimit; }
  [[nodiscard]] bool isComplete() const noexcept { return isComplete_; }
  [[nodiscard]] bool isInContainer() const noexcept { return !open_.empty(); }
  [[nodiscard]] bool isInDictionary() const noexcept {
    return isInContainer() && open_.back().type == PropertyListType::dictionary;
  }
  /// In a dictionary: whether the next thing must be a key.
  [[nodiscard]] bool expectsKey() const noexcept {
    return isInDictionary() && (pending_.size() - open_.back().firstChild) % 2 == 0;
  }

  void open(PropertyListType type) { open_.push_back({pending_.size(), type}); }
  /// Adds a key or a value, whichever the place calls for.
  void add(const PropertyListRecord& record) {
    if (isInContainer()) {
      pending_.push_back(record);
    } else {
      finish(record);
    }
  }
  /// Ends the innermost container.
  void close();

 private:
  struct OpenContainer {
    std::size_t firstChild;  // in `pending_`
    PropertyListType type;
  };

  void finish(const PropertyListRecord& root);
  [[nodiscard]] PropertyListRecord finishedArray(std::size_t firstChild);
  [[nodiscard]] PropertyListRecord finishedDictionary(std::size_t firstChild);
  [[nodiscard]] PropertyListRecord finishedLongDictionary(std::span<PropertyListRecord> entries);
  [[nodiscard]] std::span<std::uint32_t> sortedPositions(std::span<const PropertyListRecord> entries);
  [[nodiscard]] std::size_t withoutOverwritten(std::span<PropertyListRecord> entries,
                                               std::span<const std::uint32_t> sorted,
                                               std::vector<std::string_view>& repeatedKeys);
  [[nodiscard]] const PropertyListRecord* inArena(std::span<const PropertyListRecord> records);

  PropertyListTree& tree_;
  std::vector<PropertyListRecord> pending_;
  std::vector<OpenContainer> open_;
  bool isComplete_ = false;
};

}  // namespace quillon
