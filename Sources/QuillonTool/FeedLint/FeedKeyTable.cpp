#include "QuillonTool/FeedLint/FeedKeyTable.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using Keys = VeskUpdateFeedKeys;

constexpr std::array kKnownKeys = {Keys::type,
                                   Keys::version,
                                   Keys::uid,
                                   Keys::sku,
                                   Keys::language,
                                   Keys::os,
                                   Keys::currentVersion,
                                   Keys::currentBuild,
                                   Keys::mustUpdate,
                                   Keys::important,
                                   Keys::releaseDate,
                                   Keys::interval,
                                   Keys::url,
                                   Keys::title,
                                   Keys::size,
                                   Keys::installerURL,
                                   Keys::appBundleInstallerURL,
                                   Keys::installerName};

/// Longer words are no slips of the pen; without a limit a feed could choose the cost of the comparison.
constexpr std::size_t kLongestMisspelling = 32;

/// `key` in small ASCII letters, without hyphens, underscores and blanks.
std::string simplified(std::string_view key) {
  std::string text;
  for (const char c : key) {
    if (c == '-' || c == '_' || c == ' ') continue;
    text += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return text;
}

/// Letters to insert, remove or replace to make `b` from `a` (Levenshtein).
std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::span<const std::string_view> knownFeedKeys() noexcept {
  return kKnownKeys;
}

bool isKnownFeedKey(std::string_view key) noexcept {
  return std::ranges::find(kKnownKeys, key) != kKnownKeys.end();
}

std::optional<std::string_view> similarFeedKey(std::string_view key) {
  if (key.size() > kLongestMisspelling) return std::nullopt;
  const std::string word = simplified(key);
  std::optional<std::string_view> nearest;
  // Of short words only one letter may differ: every word of two letters is two letters away from "id".
  std::size_t nearestDistance = word.size() < 5 ? 2 : 3;
  for (const std::string_view known : kKnownKeys) {
    const std::size_t distance = editDistance(word, simplified(known));
    if (distance >= nearestDistance || distance >= known.size()) continue;
    nearest = known;
    nearestDistance = distance;
  }
  return nearest;
}

}  // namespace quillon
