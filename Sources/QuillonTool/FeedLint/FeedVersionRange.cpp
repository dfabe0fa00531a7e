#include "QuillonTool/FeedLint/FeedVersionRange.h"

#include <algorithm>
#include <cstddef>

#include "QuillonCore/Text/QuillonCharacterClasses.h"
#include "QuillonCore/Text/QuillonScalars.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"

namespace quillon {
namespace {

constexpr std::size_t kLongestPlainVersion = 64;

constexpr bool isDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

bool isOlder(std::string_view a, std::string_view b) {
  return VeskUpdateVersionComparison::compare(a, b) == ComparisonResult::ascending;
}

bool isNewer(std::string_view a, std::string_view b) {
  return isOlder(b, a);
}

/// Whether the first part of `version` is a number above 0.
bool startsWithPositiveNumber(std::string_view version) noexcept {
  const std::string_view digits = version.substr(0, version.find_first_not_of("0123456789"));
  return std::ranges::any_of(digits, [](char c) { return c != '0'; });
}

bool startsWithBlank(std::string_view version) noexcept {
  return !version.empty() && isWhitespaceOrNewline(takeFirstScalar(version));
}

/// Where the last number of the plain version begins.
std::size_t lastNumber(std::string_view version) noexcept {
  const std::size_t period = version.rfind('.');
  return period == std::string_view::npos ? 0 : period + 1;
}

/// Whether `low` admits the shorter spellings of the plain version `other`: 2 is admitted by 2.0, though it sorts
/// before everything that begins with "2.".
bool admitsShorterSpellings(std::string_view low, std::string_view other) {
  std::string_view rest = other;
  while (!rest.empty()) {
    const std::size_t number = lastNumber(rest);
    if (startsWithPositiveNumber(rest.substr(number))) return true;
    // "2." and "2" are both the same as "2.0".
    rest = rest.substr(0, number);
    if (isNewer(low, rest)) return false;
    if (rest.empty()) return true;
    rest.remove_suffix(1);
    if (isNewer(low, rest)) return false;
  }
  return true;
}

bool lowAdmitsEverythingOf(std::string_view outer, std::string_view inner) {
  if (outer == inner) return true;
  return isPlainVersion(outer) && isPlainVersion(inner) && isOlder(outer, inner) &&
         admitsShorterSpellings(outer, inner);
}

bool highAdmitsEverythingOf(std::optional<std::string_view> outer, std::optional<std::string_view> inner) {
  if (!outer || outer == inner) return true;
  return inner && isPlainVersion(*outer) && isPlainVersion(*inner) && isOlder(*inner, *outer);
}

}  // namespace

FeedVersionRange FeedVersionRange::parse(std::string_view text) noexcept {
  const std::size_t first = text.find('-');
  if (first == std::string_view::npos) return {.low = text, .high = std::nullopt};
  const std::size_t last = text.rfind('-');
  return {.low = text.substr(0, first), .high = text.substr(last + 1), .hasPiecesBetween = first != last};
}

bool isPlainVersion(std::string_view version) noexcept {
  if (version.empty() || version.size() > kLongestPlainVersion) return false;
  if (!isDigit(version.front()) || !isDigit(version.back())) return false;
  if (version.find("..") != std::string_view::npos) return false;
  return std::ranges::all_of(version, [](char c) { return isDigit(c) || c == '.'; });
}

bool admitsNothing(const FeedVersionRange& range) {
  if (!range.high) return false;
  const bool isLowPlain = isPlainVersion(range.low);
  if (isLowPlain && (range.high->empty() || isPlainVersion(*range.high))) return isNewer(range.low, *range.high);
  // Nothing that begins with a number is older than nothing, or than something that begins with a blank.
  return startsWithPositiveNumber(range.low) && (range.high->empty() || startsWithBlank(*range.high));
}

bool admitsEverythingOf(std::string_view outer, std::string_view inner) {
  if (outer.empty() || outer == inner) return true;
  if (inner.empty()) return false;
  const FeedVersionRange outerRange = FeedVersionRange::parse(outer);
  const FeedVersionRange innerRange = FeedVersionRange::parse(inner);
  return lowAdmitsEverythingOf(outerRange.low, innerRange.low) &&
         highAdmitsEverythingOf(outerRange.high, innerRange.high);
}

bool isNewerThanNothingIn(const FeedVersionRange& range, std::string_view version) {
  if (range.low == version) return true;
  return isPlainVersion(range.low) && isPlainVersion(version) && isOlder(version, range.low);
}

bool isNewerWherever(std::string_view a, std::string_view b) {
  return a == b || (isPlainVersion(a) && isPlainVersion(b) && isNewer(a, b));
}

}  // namespace quillon
