#include "QuillonCore/VeskVersionComparator.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

#include "QuillonCore/Text/QuillonCanonicalOrder.h"
#include "QuillonCore/Text/QuillonCharacterClasses.h"
#include "QuillonCore/Text/QuillonGraphemeClusters.h"
#include "QuillonCore/Text/QuillonScalars.h"

// A version is read as parts: runs of digits, runs of other characters, single separators. Before that, a
// blank-separated pre-release marker is contracted: " beta 3", " B3" and " d 3" all read as "b3". Two readers do both
// in one pass: one over the bytes of ASCII versions, which are nearly all, without allocating; one over the scalars of
// everything else.

namespace quillon {
namespace {

constexpr std::uint32_t kLargestNumber = std::numeric_limits<std::int32_t>::max();

enum class CharacterType : std::uint8_t { number, string, separator };

template <typename Char>
struct Part {
  CharacterType type;
  /// Value of a number's leading digits; what exceeds 32 signed bits is the largest such number.
  std::uint32_t number = 0;
  /// Characters of a string, as they stand in the version.
  std::basic_string_view<Char> text = {};
  /// Whether a contracted marker's "b" follows `text`. Digits always follow a marker, so it can only end a string.
  bool endsWithMarker = false;
};

constexpr std::uint32_t appendingDigit(std::uint32_t number, std::uint32_t digit) noexcept {
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(std::uint64_t{number} * 10 + digit, kLargestNumber));
}

/// Blank, marker, digits: what contraction looks for, at one place of a version.
struct MarkerMatch {
  /// Index behind the run of blanks at which the search began.
  std::size_t endOfBlanks = 0;
  /// Index of the first digit after the marker; absent when there is no marker or no digit.
  std::optional<std::size_t> digits;
};

constexpr char32_t lowercasedASCII(char32_t c) noexcept {
  return c >= U'A' && c <= U'Z' ? c + (U'a' - U'A') : c;
}

/// Whether `text` begins with the lowercase ASCII word `word`, in any case. No other letter lowercases into one of the
/// markers' letters.
template <typename Char>
bool beginsWithWord(std::basic_string_view<Char> text, std::string_view word) noexcept {
  return text.size() >= word.size() && std::equal(word.begin(), word.end(), text.begin(), [](char expected, Char c) {
           return lowercasedASCII(static_cast<std::make_unsigned_t<Char>>(c)) == static_cast<unsigned char>(expected);
         });
}

/// What contraction and the readers ask of ASCII bytes.
struct ASCIICharacters {
  using Char = char;

  enum Kind : std::uint8_t { other, digit, blank, punctuation };

  static constexpr std::array<Kind, 128> kKinds = [] {
    std::array<Kind, 128> kinds{};
    for (std::size_t c = '0'; c <= '9'; ++c) kinds.at(c) = digit;
    for (std::size_t c = '\t'; c <= '\r'; ++c) kinds.at(c) = blank;
    kinds.at(' ') = blank;
    // The ASCII members of the categories P*; '$', '+', '<', '=', '>', '^', '`', '|' and '~' are symbols.
    for (const char c : std::string_view("!\"#%&'()*,-./:;?@[\\]_{}"))
      kinds.at(static_cast<std::size_t>(c)) = punctuation;
    return kinds;
  }();

  static Kind kind(char c) noexcept { return kKinds[static_cast<unsigned char>(c) & 0x7FU]; }
  static bool isDigit(char c) noexcept { return kind(c) == digit; }
  static bool isBlank(char c) noexcept { return kind(c) == blank; }
  static CharacterType typeOfCharacter(char c) noexcept {
    static constexpr std::array<CharacterType, 4> kTypes = {CharacterType::string, CharacterType::number,
                                                            CharacterType::separator, CharacterType::separator};
    return kTypes[kind(c)];
  }
  static std::uint32_t digitValue(char c) noexcept { return static_cast<std::uint32_t>(c - '0'); }
  /// Every ASCII character is a cluster of its own, but for the one pair that UAX #29 never breaks.
  static std::size_t clusterLength(std::string_view text) noexcept { return text.starts_with("\r\n") ? 2 : 1; }
};

/// The same of Unicode scalars.
struct UnicodeCharacters {
  using Char = char32_t;

  static bool isDigit(char32_t c) noexcept { return isDecimalDigit(c); }
  static bool isBlank(char32_t c) noexcept { return isWhitespaceOrNewline(c); }
  static CharacterType typeOfCharacter(char32_t c) noexcept {
    if (isDecimalDigit(c)) return CharacterType::number;
    return isWhitespaceOrNewline(c) || isPunctuation(c) ? CharacterType::separator : CharacterType::string;
  }
  static std::uint32_t digitValue(char32_t c) noexcept { return decimalDigitValue(c); }
  static std::size_t clusterLength(std::u32string_view text) noexcept { return firstGraphemeClusterLength(text); }
};

/// Looks for "\s+(beta|b|d)\s*(\d+)", in any case, at the run of blanks that begins at `start`.
template <typename Characters>
MarkerMatch matchMarker(std::basic_string_view<typename Characters::Char> text, std::size_t start) noexcept {
  const auto skipBlanks = [text](std::size_t i) {
    while (i < text.size() && Characters::isBlank(text[i])) ++i;
    return i;
  };
  MarkerMatch match{.endOfBlanks = skipBlanks(start), .digits = {}};
  const auto rest = text.substr(match.endOfBlanks);
  // "beta" goes first; where it matches, "b" alone would meet 'e' instead of a digit.
  const std::size_t length = beginsWithWord(rest, "beta") ? 4 : beginsWithWord(rest, "b") || beginsWithWord(rest, "d");
  if (length == 0) return match;
  const std::size_t digits = skipBlanks(match.endOfBlanks + length);
  if (digits < text.size() && Characters::isDigit(text[digits])) match.digits = digits;
  return match;
}

/// Reads the parts of an ASCII version, contracting markers as it meets them.
class ASCIIPartReader {
 public:
  using Char = char;

  explicit ASCIIPartReader(std::string_view version) noexcept : version_(version) {}

  [[nodiscard]] bool atEnd() const noexcept { return position_ == version_.size(); }

  /// The next part. Only where not atEnd().
  Part<char> next() noexcept {
    switch (ASCIICharacters::typeOfCharacter(version_[position_])) {
      case CharacterType::number:
        return {.type = CharacterType::number, .number = takeNumber()};
      case CharacterType::string: {
        const std::string_view text = takeString();
        return {.type = CharacterType::string, .text = text, .endsWithMarker = contractMarker()};
      }
      case CharacterType::separator:
        if (contractMarker()) return {.type = CharacterType::string, .endsWithMarker = true};
        position_ += ASCIICharacters::clusterLength(version_.substr(position_));
        break;
    }
    return {.type = CharacterType::separator};
  }

 private:
  std::uint32_t takeNumber() noexcept {
    std::uint32_t number = 0;
    for (; position_ < version_.size() && ASCIICharacters::isDigit(version_[position_]); ++position_) {
      number = appendingDigit(number, ASCIICharacters::digitValue(version_[position_]));
    }
    return number;
  }

  std::string_view takeString() noexcept {
    const std::size_t start = position_;
    while (position_ < version_.size() &&
           ASCIICharacters::typeOfCharacter(version_[position_]) == CharacterType::string) {
      ++position_;
    }
    return version_.substr(start, position_ - start);
  }

  /// Steps over blanks and marker when they stand here.
  bool contractMarker() noexcept {
    // A run of blanks is examined once, from its first; from a later one the answer would be the same.
    if (position_ < examinedUntil_ || atEnd() || !ASCIICharacters::isBlank(version_[position_])) return false;
    const MarkerMatch match = matchMarker<ASCIICharacters>(version_, position_);
    examinedUntil_ = match.endOfBlanks;
    if (match.digits) position_ = *match.digits;
    return match.digits.has_value();
  }

  std::string_view version_;
  std::size_t position_ = 0;
  std::size_t examinedUntil_ = 0;
};

/// `version` with no-break spaces as spaces and markers contracted. On scalars, before clusters are formed: a "b" can
/// become part of the cluster before it.
std::u32string normalizeVersionString(std::string_view version) {
  std::u32string text = decodeScalars(version);
  std::ranges::replace(text, U'\u00A0', U' ');
  std::u32string normalized;
  normalized.reserve(text.size());
  std::size_t i = 0;
  while (i < text.size()) {
    if (!UnicodeCharacters::isBlank(text[i])) {
      normalized += text[i++];
      continue;
    }
    const MarkerMatch match = matchMarker<UnicodeCharacters>(text, i);
    if (match.digits) {
      normalized += U'b';
    } else {
      normalized.append(text, i, match.endOfBlanks - i);
    }
    i = match.digits.value_or(match.endOfBlanks);
  }
  return normalized;
}

/// Reads the parts of a normalized version.
class UnicodePartReader {
 public:
  using Char = char32_t;

  explicit UnicodePartReader(std::u32string_view version) noexcept : rest_(version) {}

  [[nodiscard]] bool atEnd() const noexcept { return rest_.empty(); }

  Part<char32_t> next() noexcept {
    const CharacterType type = UnicodeCharacters::typeOfCharacter(rest_.front());
    std::size_t length = 0;
    do {
      length += UnicodeCharacters::clusterLength(rest_.substr(length));
    } while (type != CharacterType::separator && length < rest_.size() &&
             UnicodeCharacters::typeOfCharacter(rest_[length]) == type);
    const std::u32string_view text = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return {.type = type, .number = type == CharacterType::number ? leadingNumber(text) : 0, .text = text};
  }

 private:
  static std::uint32_t leadingNumber(std::u32string_view text) noexcept {
    std::uint32_t number = 0;
    for (const char32_t c : text) {
      // A digit can carry combining marks, which end the number.
      if (!UnicodeCharacters::isDigit(c)) break;
      number = appendingDigit(number, UnicodeCharacters::digitValue(c));
    }
    return number;
  }

  std::u32string_view rest_;
};

template <typename Value>
ComparisonResult ordered(const Value& a, const Value& b) noexcept {
  if (a == b) return ComparisonResult::same;
  return a < b ? ComparisonResult::ascending : ComparisonResult::descending;
}

/// Whether a string part is one of the markers that count as "b".
template <typename Char>
bool isMarker(const Part<Char>& part) noexcept {
  if (part.endsWithMarker) return part.text.empty();
  return (part.text.size() == 4 && beginsWithWord(part.text, "beta")) ||
         (part.text.size() == 1 && beginsWithWord(part.text, "d"));
}

ComparisonResult compareTexts(const Part<char>& a, const Part<char>& b) noexcept {
  const std::size_t shared = std::min(a.text.size(), b.text.size());
  const int order = std::memcmp(a.text.data(), b.text.data(), shared);
  if (order != 0) return ordered(order, 0);
  // What is left of the longer text, then the contracted "b" of either: at most one more character decides.
  const auto rest = [shared](const Part<char>& part, std::size_t i) -> int {
    if (shared + i < part.text.size()) return static_cast<unsigned char>(part.text[shared + i]);
    return part.endsWithMarker && shared + i == part.text.size() ? 'b' : -1;
  };
  for (std::size_t i = 0;; ++i) {
    const int first = rest(a, i);
    const int second = rest(b, i);
    if (first != second || first < 0) return ordered(first, second);
  }
}

ComparisonResult compareTexts(const Part<char32_t>& a, const Part<char32_t>& b) {
  return compareCanonically(a.text, b.text);
}

template <typename Char>
ComparisonResult compareStrings(Part<Char> a, Part<Char> b) {
  static constexpr std::array<Char, 1> kMarker = {Char{'b'}};
  for (Part<Char>* part : {&a, &b}) {
    if (isMarker(*part)) *part = {.type = CharacterType::string, .text = {kMarker.data(), kMarker.size()}};
  }
  return compareTexts(a, b);
}

/// A string marks a pre-release, so anything else beats it; a number beats a separator.
constexpr int rank(CharacterType type) noexcept {
  switch (type) {
    case CharacterType::string:
      return 0;
    case CharacterType::separator:
      return 1;
    case CharacterType::number:
      return 2;
  }
  return 0;
}

template <typename Char>
ComparisonResult compareParts(const Part<Char>& a, const Part<Char>& b) {
  if (a.type != b.type) return ordered(rank(a.type), rank(b.type));
  switch (a.type) {
    case CharacterType::number:
      return ordered(a.number, b.number);
    case CharacterType::string:
      return compareStrings(a, b);
    case CharacterType::separator:
      break;
  }
  return ComparisonResult::same;
}

/// Whether the parts that `reader` has left are zeros and separators, with a zero among them.
template <typename Reader>
bool isInsignificantTrailingZeroSuffix(Reader reader) noexcept {
  bool sawZero = false;
  while (!reader.atEnd()) {
    const auto part = reader.next();
    if (part.type == CharacterType::separator) continue;
    if (part.type == CharacterType::string || part.number != 0) return false;
    sawZero = true;
  }
  return sawZero;
}

/// How a version that ends where `rest` goes on is ordered against the one that goes on.
template <typename Reader>
ComparisonResult compareEndWith(Reader rest) noexcept {
  if (isInsignificantTrailingZeroSuffix(rest)) return ComparisonResult::same;
  return rest.next().type == CharacterType::string ? ComparisonResult::descending : ComparisonResult::ascending;
}

constexpr ComparisonResult reversed(ComparisonResult order) noexcept {
  return static_cast<ComparisonResult>(-static_cast<int>(order));
}

template <typename Reader>
ComparisonResult comparePartByPart(Reader a, Reader b) {
  while (!a.atEnd() && !b.atEnd()) {
    const ComparisonResult order = compareParts(a.next(), b.next());
    if (order != ComparisonResult::same) return order;
  }
  if (!b.atEnd()) return compareEndWith(b);
  return a.atEnd() ? ComparisonResult::same : reversed(compareEndWith(a));
}

template <typename Word>
Word wordAt(const char* bytes) noexcept {
  Word word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

bool isASCII(std::string_view text) noexcept {
  static constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  std::uint64_t seen = 0;
  // The last word overlaps the one before it, which spares a loop over single bytes.
  if (text.size() >= 8) {
    for (const char* word = begin; word + 8 < end; word += 8) seen |= wordAt<std::uint64_t>(word);
    seen |= wordAt<std::uint64_t>(end - 8);
  } else if (text.size() >= 4) {
    seen = wordAt<std::uint32_t>(begin) | wordAt<std::uint32_t>(end - 4);
  } else {
    for (const char c : text) seen |= static_cast<unsigned char>(c);
  }
  return (seen & kHighBits) == 0;
}

/// Length of a beginning that both versions share and that ends with a period. A period is a part of its own and no
/// marker spans it, so what follows compares as if it stood alone.
std::size_t sharedPartsLength(std::string_view a, std::string_view b) noexcept {
  const std::size_t limit = std::min(a.size(), b.size());
  std::size_t length = 0;
  for (std::size_t i = 0; i < limit && a[i] == b[i]; ++i) {
    if (a[i] == '.') length = i + 1;
  }
  return length;
}

}  // namespace

ComparisonResult VeskVersionComparator::compareVersion(std::optional<std::string_view> version,
                                                       std::optional<std::string_view> toVersion) {
  const std::string_view a = version.value_or(std::string_view());
  const std::string_view b = toVersion.value_or(std::string_view());
  if (!isASCII(a) || !isASCII(b)) {
    const std::u32string first = normalizeVersionString(a);
    const std::u32string second = normalizeVersionString(b);
    return comparePartByPart(UnicodePartReader(first), UnicodePartReader(second));
  }
  const std::size_t shared = sharedPartsLength(a, b);
  return comparePartByPart(ASCIIPartReader(a.substr(shared)), ASCIIPartReader(b.substr(shared)));
}

}  // namespace quillon
