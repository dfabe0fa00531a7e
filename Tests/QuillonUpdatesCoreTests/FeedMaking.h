#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"

namespace quillon {

using FeedDictionary = QuillonPropertyListValue::Dictionary;

/// An entry whose values are strings.
inline FeedDictionary entryOf(std::initializer_list<std::pair<const std::string_view, std::string_view>> values) {
  FeedDictionary entry;
  for (const auto& [key, value] : values) entry.emplace(std::string(key), QuillonPropertyListValue(value));
  return entry;
}

/// A feed of `entries`, read from a binary property list.
inline VeskUpdateFeed feedOf(std::initializer_list<FeedDictionary> entries) {
  QuillonPropertyListValue::Array array;
  for (const FeedDictionary& entry : entries) array.emplace_back(entry);
  return VeskUpdateFeed(QuillonPropertyListDocument(writeBinaryPropertyList(QuillonPropertyListValue(array))));
}

}  // namespace quillon
