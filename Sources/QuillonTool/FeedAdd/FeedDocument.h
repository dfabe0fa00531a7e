#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// A feed that is being changed. Everything that is not changed, keys that no host reads included, keeps its value;
/// comments and the order of keys, which are no part of a property list, do not last.
class FeedDocument {
 public:
  using Entry = QuillonPropertyListValue::Dictionary;

  /// A feed without entries, to be written as XML.
  FeedDocument() = default;
  /// Reads a feed. Throws QuillonError for bytes that are no array of dictionaries; an empty array is one.
  explicit FeedDocument(std::string_view bytes);

  [[nodiscard]] const std::vector<Entry>& entries() const noexcept { return entries_; }

  /// The entry with the type, identifier, "sku" and "lang" of `entry`, the first of several.
  [[nodiscard]] std::optional<std::size_t> find(const Entry& entry) const;

  /// Puts `entry` before the first entry of its type, "sku" and "lang" that does not offer a newer version; without
  /// one behind the last of these, and without these behind the last of its type, else at the end. So the newest stands
  /// first as long as the others do, and what somebody ordered otherwise keeps its order. Returns the entry's place.
  std::size_t insert(Entry entry);

  void remove(std::size_t index);
  void replace(std::size_t index, Entry entry) { entries_.at(index) = std::move(entry); }

  /// The feed in the form in which it was read: binary, or XML for everything else.
  [[nodiscard]] std::string bytes() const;

 private:
  [[nodiscard]] std::size_t placeFor(const Entry& entry) const;

  std::vector<Entry> entries_;
  bool isBinary_ = false;
};

}  // namespace quillon
