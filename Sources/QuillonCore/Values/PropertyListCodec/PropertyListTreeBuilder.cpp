#include "QuillonCore/Values/PropertyListCodec/PropertyListTreeBuilder.h"

#include <numeric>
#include <utility>

#include "QuillonCore/Values/PropertyListCodec/PropertyListKeyOrder.h"

namespace quillon {

void PropertyListTreeBuilder::close() {
  const OpenContainer container = open_.back();
  const PropertyListRecord record = container.type == PropertyListType::array
                                        ? finishedArray(container.firstChild)
                                        : finishedDictionary(container.firstChild);
  open_.pop_back();
  pending_.resize(container.firstChild);
  add(record);
}

void PropertyListTreeBuilder::finish(const PropertyListRecord& root) {
  tree_.setRoot(root);
  isComplete_ = true;
}

PropertyListRecord PropertyListTreeBuilder::finishedArray(std::size_t firstChild) {
  const std::span<const PropertyListRecord> pending = std::span(pending_).subspan(firstChild);
  return PropertyListRecord::ofChildren(PropertyListType::array, inArena(pending), pending.size());
}

PropertyListRecord PropertyListTreeBuilder::finishedDictionary(std::size_t firstChild) {
  const std::span<PropertyListRecord> pending = std::span(pending_).subspan(firstChild);
  const auto keyAt = [&](std::size_t index) { return pending[2 * index].string(); };
  std::size_t count = pending.size() / 2;
  if (count > kPropertyListLinearSearchLimit) return finishedLongDictionary(pending);
  std::vector<std::string_view> repeatedKeys;
  if (haveDuplicateKey(count, keyAt)) count = withoutOverwritten(pending, sortedPositions(pending), repeatedKeys);
  const PropertyListRecord* const children = inArena(pending.first(2 * count));
  if (!repeatedKeys.empty()) tree_.setRepeatedKeys(children, std::move(repeatedKeys));
  return PropertyListRecord::ofChildren(PropertyListType::dictionary, children, count);
}

PropertyListRecord PropertyListTreeBuilder::finishedLongDictionary(std::span<PropertyListRecord> entries) {
  const auto keyAt = [&](std::size_t index) { return entries[2 * index].string(); };
  std::span<std::uint32_t> sorted = sortedPositions(entries);
  std::vector<std::string_view> repeatedKeys;
  if (haveEqualNeighbours(sorted, keyAt)) {
    entries = entries.first(2 * withoutOverwritten(entries, sorted, repeatedKeys));
    sorted = sortedPositions(entries);
  }
  const PropertyListRecord* const children = inArena(entries);
  if (!repeatedKeys.empty()) tree_.setRepeatedKeys(children, std::move(repeatedKeys));
  auto* const indexed = tree_.arena.allocate<PropertyListIndexedChildren>(1);
  *indexed = {children, sorted.data()};
  PropertyListRecord dictionary =
      PropertyListRecord::ofChildren(PropertyListType::dictionary, nullptr, entries.size() / 2);
  dictionary.indexed = indexed;
  dictionary.isIndexed = true;
  return dictionary;
}

/// The positions of `entries` in the order of their keys, in the arena.
std::span<std::uint32_t> PropertyListTreeBuilder::sortedPositions(std::span<const PropertyListRecord> entries) {
  const std::size_t count = entries.size() / 2;
  const std::span<std::uint32_t> sorted(tree_.arena.allocate<std::uint32_t>(count), count);
  std::iota(sorted.begin(), sorted.end(), 0U);
  sortByKey(sorted, [&](std::size_t index) { return entries[2 * index].string(); });
  return sorted;
}

/// Closes up `entries` over those whose key comes again, which it adds to `repeatedKeys`. Returns the number of those
/// that stay.
std::size_t PropertyListTreeBuilder::withoutOverwritten(std::span<PropertyListRecord> entries,
                                                        std::span<const std::uint32_t> sorted,
                                                        std::vector<std::string_view>& repeatedKeys) {
  std::vector<bool> isOverwritten(sorted.size());
  for (std::size_t i = 1; i < sorted.size(); ++i) {
    const std::string_view key = entries[std::size_t{2} * sorted[i - 1]].string();
    if (key != entries[std::size_t{2} * sorted[i]].string()) continue;
    isOverwritten[sorted[i - 1]] = true;
    if (repeatedKeys.empty() || repeatedKeys.back() != key) repeatedKeys.push_back(key);
  }
  std::size_t kept = 0;
  for (std::size_t i = 0; i < isOverwritten.size(); ++i) {
    if (isOverwritten[i]) continue;
    entries[2 * kept] = entries[2 * i];
    entries[2 * kept + 1] = entries[2 * i + 1];
    ++kept;
  }
  return kept;
}

const PropertyListRecord* PropertyListTreeBuilder::inArena(std::span<const PropertyListRecord> records) {
  auto* const copy = tree_.arena.allocate<PropertyListRecord>(records.size());
  std::uninitialized_copy(records.begin(), records.end(), copy);
  return copy;
}

}  // namespace quillon
