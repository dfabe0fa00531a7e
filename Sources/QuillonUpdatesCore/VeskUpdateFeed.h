#pragma once

#include <cstddef>

#include "QuillonCore/Values/QuillonPropertyListDocument.h"

namespace quillon {

/// One entry of a feed: a dictionary with the keys of VeskUpdateFeedKeys, whose values may be of any type. A view that
/// is good as long as the feed that it comes from; `toValue()` makes a copy that lives by itself.
using VeskUpdateFeedEntry = QuillonPropertyListNode;

/// The entries of a feed in the feed's order, of which nothing is copied: they lie in the document that was read.
/// Entries stay good when the feed is moved.
class VeskUpdateFeed {
 public:
  /// Takes a document whose root is an array of dictionaries.
  explicit VeskUpdateFeed(QuillonPropertyListDocument document) noexcept;

  [[nodiscard]] std::size_t size() const noexcept { return document_.root().size(); }
  /// Entry `index`, below size().
  [[nodiscard]] VeskUpdateFeedEntry at(std::size_t index) const noexcept { return document_.root().at(index); }
  [[nodiscard]] VeskUpdateFeedEntry::ElementIterator begin() const noexcept {
    return document_.root().elements().begin();
  }
  [[nodiscard]] VeskUpdateFeedEntry::ElementIterator end() const noexcept { return document_.root().elements().end(); }

 private:
  QuillonPropertyListDocument document_;
};

}  // namespace quillon
