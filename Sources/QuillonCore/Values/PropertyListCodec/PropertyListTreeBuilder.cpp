#include "QuillonCore/Values/PropertyListCodec/PropertyListTreeBuilder.h"

#include <numeric>

namespace quillon {
namespace {

/// The positions 0 to `count` - 1 in `arena`.
std::span<std::uint32_t> positions(std::size_t count, PropertyListArena& arena) {
  const std::span<std::uint32_t> all(arena.allocate<std::uint32_t>(count), count);
  std::iota(all.begin(), all.end(), 0U);
  return all;
}

}  // namespace

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
  auto* const children = tree_.arena.allocate<PropertyListRecord>(pending.size());
  std::uninitialized_copy(pending.begin(), pending.end(), children);
  return PropertyListRecord::ofChildren(PropertyListType::array, children, pending.size());
}

PropertyListRecord PropertyListTreeBuilder::finishedDictionary(std::size_t firstChild) {
  std::span<PropertyListRecord> pending = std::span(pending_).subspan(firstChild);
  const auto keyAt = [&](std::size_t index) { return pending[2 * index].string(); };
  std::size_t count = pending.size() / 2;
  const bool isSmall = count <= kPropertyListLinearSearchLimit;
  if (!isSmall || keyOrder_.haveDuplicate(count, keyAt)) count = withoutOverwritten(pending);
  auto* const children = tree_.arena.allocate<PropertyListRecord>(2 * count);
  std::uninitialized_copy_n(pending.begin(), 2 * count, children);
  PropertyListRecord dictionary = PropertyListRecord::ofChildren(PropertyListType::dictionary, children, count);
  if (count <= kPropertyListLinearSearchLimit) return dictionary;
  const std::span<std::uint32_t> sorted = positions(count, tree_.arena);
  keyOrder_.sort(sorted, keyAt);
  auto* const indexed = tree_.arena.allocate<PropertyListIndexedChildren>(1);
  *indexed = {children, sorted.data()};
  dictionary.indexed = indexed;
  dictionary.isIndexed = true;
  return dictionary;
}

std::size_t PropertyListTreeBuilder::withoutOverwritten(std::span<PropertyListRecord> entries) {
  const auto keyAt = [&](std::size_t index) { return entries[2 * index].string(); };
  std::vector<std::uint32_t> sorted(entries.size() / 2);
  std::iota(sorted.begin(), sorted.end(), 0U);
  keyOrder_.sort(sorted, keyAt);
  std::vector<bool> isOverwritten(sorted.size());
  for (std::size_t i = 1; i < sorted.size(); ++i) {
    isOverwritten[sorted[i - 1]] = keyOrder_.compare(keyAt(sorted[i - 1]), keyAt(sorted[i])) == 0;
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

}  // namespace quillon
