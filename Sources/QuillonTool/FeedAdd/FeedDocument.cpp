#include "QuillonTool/FeedAdd/FeedDocument.h"

#include <algorithm>
#include <iterator>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"

namespace quillon {
namespace {

using Entry = FeedDocument::Entry;
using Keys = VeskUpdateFeedKeys;
using Value = QuillonPropertyListValue;

bool haveSame(std::string_view key, const Entry& a, const Entry& b) noexcept {
  return stringOrEmpty(a, key) == stringOrEmpty(b, key);
}

bool areForSameUsers(const Entry& a, const Entry& b) noexcept {
  return haveSame(Keys::type, a, b) && haveSame(Keys::sku, a, b) && haveSame(Keys::language, a, b);
}

const std::string& identifierOf(const Entry& entry) noexcept {
  const std::string& identifier = stringOrEmpty(entry, Keys::uid);
  return identifier.empty() ? stringOrEmpty(entry, Keys::feedVersionID) : identifier;
}

bool offersNewerThan(const Entry& a, const Entry& b) {
  return VeskUpdateVersionComparison::compare(stringOrEmpty(a, Keys::currentVersion),
                                              stringOrEmpty(b, Keys::currentVersion)) == ComparisonResult::descending;
}

}  // namespace

FeedDocument::FeedDocument(std::string_view bytes) : isBinary_(bytes.starts_with("bplist")) {
  Value root = readPropertyList(bytes);
  auto* const array = root.getIf<Value::Array>();
  if (array == nullptr) throw QuillonError("It is no array of entries");
  for (Value& element : *array) {
    auto* const entry = element.getIf<Entry>();
    if (entry == nullptr) throw QuillonError("It has an element that is no dictionary");
    entries_.push_back(std::move(*entry));
  }
}

std::optional<std::size_t> FeedDocument::find(const Entry& entry) const {
  const auto found = std::ranges::find_if(entries_, [&entry](const Entry& other) {
    return areForSameUsers(entry, other) && identifierOf(entry) == identifierOf(other);
  });
  if (found == entries_.end()) return std::nullopt;
  return static_cast<std::size_t>(std::distance(entries_.begin(), found));
}

std::size_t FeedDocument::placeFor(const Entry& entry) const {
  std::optional<std::size_t> behindSameUsers;
  std::optional<std::size_t> behindSameType;
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    if (haveSame(Keys::type, entry, entries_[i])) behindSameType = i + 1;
    if (!areForSameUsers(entry, entries_[i])) continue;
    if (!offersNewerThan(entries_[i], entry)) return i;
    behindSameUsers = i + 1;
  }
  return behindSameUsers.value_or(behindSameType.value_or(entries_.size()));
}

std::size_t FeedDocument::insert(Entry entry) {
  const std::size_t place = placeFor(entry);
  entries_.insert(std::next(entries_.begin(), static_cast<std::ptrdiff_t>(place)), std::move(entry));
  return place;
}

void FeedDocument::remove(std::size_t index) {
  entries_.erase(std::next(entries_.begin(), static_cast<std::ptrdiff_t>(index)));
}

std::string FeedDocument::bytes() const {
  Value::Array array;
  for (const Entry& entry : entries_) array.emplace_back(entry);
  const Value root(std::move(array));
  return isBinary_ ? writeBinaryPropertyList(root) : writeXMLPropertyList(root);
}

}  // namespace quillon
