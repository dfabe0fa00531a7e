#include "QuillonCore/Values/QuillonPropertyListDocument.h"

#include <utility>

#include "QuillonCore/Values/PropertyListCodec/BinaryPropertyListReader.h"
#include "QuillonCore/Values/PropertyListCodec/OldStylePropertyListReader.h"
#include "QuillonCore/Values/PropertyListCodec/PropertyListText.h"
#include "QuillonCore/Values/PropertyListCodec/XMLPropertyListReader.h"

namespace quillon {
namespace {

void readInto(PropertyListTree& tree, std::string_view bytes) {
  if (bytes.empty()) throw QuillonPropertyListError("Not a property list: there are no bytes");
  if (bytes.size() >= kPropertyListSizeLimit) throw QuillonPropertyListError("Not a property list: 4 GiB or more");
  if (isBinaryPropertyList(bytes)) return readBinaryPropertyList(bytes, tree);
  const std::string_view text = decodedPropertyListText(bytes, tree.arena);
  if (text.size() >= kPropertyListSizeLimit) throw QuillonPropertyListError("Not a property list: 4 GiB or more");
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first != std::string_view::npos && text[first] == '<' && isXMLPropertyList(text.substr(first))) {
    readXMLPropertyList(text, tree);
  } else {
    readOldStylePropertyList(text, tree);
  }
}

}  // namespace

QuillonPropertyListDocument::QuillonPropertyListDocument(std::string bytes)
    : tree_(std::make_unique<PropertyListTree>()) {
  tree_->ownedBytes = std::move(bytes);
  readInto(*tree_, tree_->ownedBytes);
}

QuillonPropertyListDocument::QuillonPropertyListDocument(std::unique_ptr<PropertyListTree> tree) noexcept
    : tree_(std::move(tree)) {}

QuillonPropertyListDocument QuillonPropertyListDocument::borrowing(std::string_view bytes) {
  auto tree = std::make_unique<PropertyListTree>();
  readInto(*tree, bytes);
  return QuillonPropertyListDocument(std::move(tree));
}

// Recursive; the readers limit the depth.
QuillonPropertyListValue QuillonPropertyListNode::toValue() const {
  using Value = QuillonPropertyListValue;
  switch (type()) {
    case PropertyListType::boolean:
      return Value(record_->integer != 0);
    case PropertyListType::integer:
      return Value(record_->integer);
    case PropertyListType::real:
      return Value(record_->real);
    case PropertyListType::string:
      return Value(record_->string());
    case PropertyListType::data: {
      const auto bytes = *dataIf();
      return Value(QuillonPropertyListData{{bytes.begin(), bytes.end()}});
    }
    case PropertyListType::date:
      return Value(*dateIf());
    case PropertyListType::array: {
      Value::Array array;
      array.reserve(size());
      for (const QuillonPropertyListNode element : elements()) array.push_back(element.toValue());
      return Value(std::move(array));
    }
    case PropertyListType::dictionary:
      break;
  }
  Value::Dictionary dictionary;
  for (std::size_t i = 0; i < record_->size; ++i) {
    // In the order of the keys where it is known, as it mostly is in what writers sort: each entry goes to the end.
    const std::size_t position = record_->isIndexed ? record_->indexed->sortedPositions[i] : i;
    dictionary.emplace_hint(dictionary.end(), tree_->key(*record_, position).string(),
                            QuillonPropertyListNode(*tree_, tree_->value(*record_, position)).toValue());
  }
  return Value(std::move(dictionary));
}

QuillonPropertyListValue readPropertyList(std::string_view bytes) {
  return QuillonPropertyListDocument::borrowing(bytes).root().toValue();
}

}  // namespace quillon
