#include "QuillonUpdatesCore/VeskUpdateFeedParser.h"

#include <algorithm>
#include <utility>

#include "QuillonUpdatesCore/VeskUpdateFeedParserError.h"

namespace quillon {
namespace {

QuillonPropertyListDocument readDocument(std::string data) {
  try {
    return QuillonPropertyListDocument(std::move(data));
  } catch (const QuillonPropertyListError&) {
    throw VeskUpdateFeedParserError::feedFailedToParse();
  }
}

bool isArrayOfDictionaries(QuillonPropertyListNode root) {
  if (!root.isArray()) return false;
  const auto elements = root.elements();
  return std::all_of(elements.begin(), elements.end(),
                     [](QuillonPropertyListNode entry) { return entry.isDictionary(); });
}

}  // namespace

VeskUpdateFeed VeskUpdateFeedParser::parseFeed(std::optional<std::string> data) const {
  if (!data) throw VeskUpdateFeedParserError::feedNotFound();
  QuillonPropertyListDocument document = readDocument(std::move(*data));
  const QuillonPropertyListNode root = document.root();
  if (!isArrayOfDictionaries(root) || root.size() == 0) throw VeskUpdateFeedParserError::feedNotFound();
  return VeskUpdateFeed(std::move(document));
}

}  // namespace quillon
