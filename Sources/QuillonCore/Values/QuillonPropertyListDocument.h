#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "QuillonCore/Values/PropertyListCodec/PropertyListTree.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// A value inside a QuillonPropertyListDocument: a view of two pointers, good as long as the document lives, moved or
/// not. Nothing in it fails or allocates, `toValue` excepted.
class QuillonPropertyListNode {
 public:
  class ElementIterator;
  class EntryIterator;
  struct Elements;
  struct Entries;

  [[nodiscard]] PropertyListType type() const noexcept { return record_->type; }
  [[nodiscard]] bool isArray() const noexcept { return type() == PropertyListType::array; }
  [[nodiscard]] bool isDictionary() const noexcept { return type() == PropertyListType::dictionary; }

  [[nodiscard]] std::optional<bool> boolIf() const noexcept {
    if (type() != PropertyListType::boolean) return std::nullopt;
    return record_->integer != 0;
  }
  [[nodiscard]] std::optional<std::int64_t> integerIf() const noexcept {
    if (type() != PropertyListType::integer) return std::nullopt;
    return record_->integer;
  }
  [[nodiscard]] std::optional<double> realIf() const noexcept {
    if (type() != PropertyListType::real) return std::nullopt;
    return record_->real;
  }
  [[nodiscard]] std::optional<std::string_view> stringIf() const noexcept {
    if (type() != PropertyListType::string) return std::nullopt;
    return record_->string();
  }
  [[nodiscard]] std::optional<std::span<const std::uint8_t>> dataIf() const noexcept {
    if (type() != PropertyListType::data) return std::nullopt;
    return std::span(reinterpret_cast<const std::uint8_t*>(record_->text), record_->size);
  }
  [[nodiscard]] std::optional<QuillonPropertyListDate> dateIf() const noexcept {
    if (type() != PropertyListType::date) return std::nullopt;
    return QuillonPropertyListDate(std::chrono::microseconds(record_->integer));
  }

  /// Number of elements of an array or entries of a dictionary, else 0.
  [[nodiscard]] std::size_t size() const noexcept { return isArray() || isDictionary() ? record_->size : 0; }

  /// Element `index`, below size(), of an array.
  [[nodiscard]] QuillonPropertyListNode at(std::size_t index) const noexcept {
    return {*tree_, tree_->element(*record_, index)};
  }
  /// The elements of an array in their order; none for every other type.
  [[nodiscard]] Elements elements() const noexcept;

  /// The value of `key` when this is a dictionary that has it.
  [[nodiscard]] std::optional<QuillonPropertyListNode> find(std::string_view key) const noexcept;
  /// The entries of a dictionary in the document's order, keys unique; none for every other type.
  [[nodiscard]] Entries entries() const noexcept;

  /// The keys that the document gives this dictionary more than once, each once and in their order; the last value of
  /// each counts. None for every other type.
  [[nodiscard]] std::span<const std::string_view> repeatedKeys() const noexcept {
    return isDictionary() ? tree_->repeatedKeys(*record_) : std::span<const std::string_view>();
  }

  /// Whether this is the same place of the same document as `other`. A binary list can have one value in two places.
  [[nodiscard]] bool isSameAs(QuillonPropertyListNode other) const noexcept { return record_ == other.record_; }

  /// A value of its own with everything below.
  [[nodiscard]] QuillonPropertyListValue toValue() const;

 private:
  friend class QuillonPropertyListDocument;
  QuillonPropertyListNode(const PropertyListTree& tree, const PropertyListRecord& record) noexcept
      : tree_(&tree), record_(&record) {}

  const PropertyListTree* tree_;
  const PropertyListRecord* record_;
};

/// A property list in the form that is fastest to read: values lie flat in memory of the document's own, and strings
/// that need no decoding are views into the bytes. For feeds and seals, which are read once and searched; for
/// everything else there is readPropertyList(), with the same rules and limits.
class QuillonPropertyListDocument {
 public:
  /// Reads `bytes` and keeps them. Throws QuillonPropertyListError.
  explicit QuillonPropertyListDocument(std::string bytes);
  /// Reads `bytes`, which have to outlive the document. Throws QuillonPropertyListError.
  [[nodiscard]] static QuillonPropertyListDocument borrowing(std::string_view bytes);

  QuillonPropertyListDocument(QuillonPropertyListDocument&&) noexcept = default;
  QuillonPropertyListDocument& operator=(QuillonPropertyListDocument&&) noexcept = default;
  ~QuillonPropertyListDocument() = default;

  [[nodiscard]] QuillonPropertyListNode root() const noexcept { return {*tree_, tree_->root()}; }

 private:
  explicit QuillonPropertyListDocument(std::unique_ptr<PropertyListTree> tree) noexcept;

  std::unique_ptr<PropertyListTree> tree_;
};

class QuillonPropertyListNode::ElementIterator {
 public:
  using value_type = QuillonPropertyListNode;
  using difference_type = std::ptrdiff_t;

  ElementIterator(QuillonPropertyListNode array, std::size_t index) noexcept : array_(array), index_(index) {}
  [[nodiscard]] QuillonPropertyListNode operator*() const noexcept { return array_.at(index_); }
  ElementIterator& operator++() noexcept {
    ++index_;
    return *this;
  }
  ElementIterator operator++(int) noexcept {
    ElementIterator before = *this;
    ++index_;
    return before;
  }
  friend bool operator==(const ElementIterator& a, const ElementIterator& b) noexcept { return a.index_ == b.index_; }

 private:
  QuillonPropertyListNode array_;
  std::size_t index_;
};

class QuillonPropertyListNode::EntryIterator {
 public:
  struct Entry {
    std::string_view key;
    QuillonPropertyListNode value;
  };
  using value_type = Entry;
  using difference_type = std::ptrdiff_t;

  EntryIterator(QuillonPropertyListNode dictionary, std::size_t index) noexcept
      : dictionary_(dictionary), index_(index) {}
  [[nodiscard]] Entry operator*() const noexcept {
    const PropertyListTree& tree = *dictionary_.tree_;
    return {tree.key(*dictionary_.record_, index_).string(),
            QuillonPropertyListNode(tree, tree.value(*dictionary_.record_, index_))};
  }
  EntryIterator& operator++() noexcept {
    ++index_;
    return *this;
  }
  EntryIterator operator++(int) noexcept {
    EntryIterator before = *this;
    ++index_;
    return before;
  }
  friend bool operator==(const EntryIterator& a, const EntryIterator& b) noexcept { return a.index_ == b.index_; }

 private:
  QuillonPropertyListNode dictionary_;
  std::size_t index_;
};

struct QuillonPropertyListNode::Elements {
  ElementIterator first;
  ElementIterator last;
  [[nodiscard]] ElementIterator begin() const noexcept { return first; }
  [[nodiscard]] ElementIterator end() const noexcept { return last; }
};

struct QuillonPropertyListNode::Entries {
  EntryIterator first;
  EntryIterator last;
  [[nodiscard]] EntryIterator begin() const noexcept { return first; }
  [[nodiscard]] EntryIterator end() const noexcept { return last; }
};

inline std::optional<QuillonPropertyListNode> QuillonPropertyListNode::find(std::string_view key) const noexcept {
  if (!isDictionary()) return std::nullopt;
  const PropertyListRecord* found = tree_->find(*record_, key);
  if (found == nullptr) return std::nullopt;
  return QuillonPropertyListNode(*tree_, *found);
}

inline QuillonPropertyListNode::Elements QuillonPropertyListNode::elements() const noexcept {
  return {ElementIterator(*this, 0), ElementIterator(*this, isArray() ? size() : 0)};
}

inline QuillonPropertyListNode::Entries QuillonPropertyListNode::entries() const noexcept {
  return {EntryIterator(*this, 0), EntryIterator(*this, isDictionary() ? size() : 0)};
}

}  // namespace quillon
