#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <ostream>
#include <random>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/VeskVersionComparator.h"

namespace quillon {
namespace {

using enum ComparisonResult;

ComparisonResult compare(std::optional<std::string_view> a, std::optional<std::string_view> b) {
  return VeskVersionComparator::compareVersion(a, b);
}

ComparisonResult reversed(ComparisonResult order) {
  return static_cast<ComparisonResult>(-static_cast<int>(order));
}

struct OrderCase {
  const char* name;
  std::optional<std::string_view> a;
  std::optional<std::string_view> b;
  ComparisonResult order;
};

void PrintTo(const OrderCase& c, std::ostream* stream) {
  *stream << c.name << ": " << c.a.value_or("(none)") << " / " << c.b.value_or("(none)");
}

class VeskVersionComparatorOrderTest : public testing::TestWithParam<OrderCase> {};

TEST_P(VeskVersionComparatorOrderTest, OrdersBothWaysRound) {
  const OrderCase& c = GetParam();

  EXPECT_EQ(compare(c.a, c.b), c.order);
  EXPECT_EQ(compare(c.b, c.a), reversed(c.order));
}

std::string caseName(const testing::TestParamInfo<OrderCase>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Releases, VeskVersionComparatorOrderTest,
    testing::Values(OrderCase{"TrailingZeroIsInsignificant", "1.0", "1.0.0", same},
                    OrderCase{"TrailingZerosAreInsignificant", "1", "1.0.00.0", same},
                    OrderCase{"FurtherNumberIsNewer", "1.0", "1.0.1", ascending},
                    OrderCase{"FurtherNumberBehindZeroIsNewer", "1.0.0.1", "1.0", descending},
                    OrderCase{"NumbersCompareByValue", "10", "9.9", descending},
                    OrderCase{"LeadingZerosDoNotCount", "1.01", "1.1", same},
                    OrderCase{"SeparatorsAreAllEqual", "1.0-1", "1.0.1", same},
                    OrderCase{"BlankSeparatesLikeAPeriod", "1.0 1", "1.0.1", same},
                    OrderCase{"LineBreakIsOneSeparator", "1\r\n2", "1.2", same},
                    OrderCase{"ReversedLineBreakIsTwoSeparators", "1\n\r2", "1..2", same},
                    OrderCase{"NumberBeatsSeparator", "1.0", "1..0", descending},
                    OrderCase{"TrailingPeriodIsNewer", "1.0", "1.0.", ascending},
                    OrderCase{"TrailingSpaceIsNewer", "1.0", "1.0 ", ascending},
                    OrderCase{"SharedTextOfOtherPartDoesNotCount", "1.10", "1.1", descending},
                    OrderCase{"BeyondTheLargestNumberAllAreEqual", "99999999999", "2147483647", same},
                    OrderCase{"BeyondAnyMachineNumberAllAreEqual", "99999999999999999999999999", "2147483648", same},
                    OrderCase{"LargestNumberBeatsTheNextSmaller", "2147483647", "2147483646", descending},
                    OrderCase{"ManyLeadingZerosKeepTheValue", "000000000000000000000000000007", "7", same}),
    caseName);

INSTANTIATE_TEST_SUITE_P(PreReleases, VeskVersionComparatorOrderTest,
                         testing::Values(OrderCase{"BetaIsOlderThanItsRelease", "2.1b3", "2.1", ascending},
                                         OrderCase{"SpelledOutBetaIsTheShortOne", "2.1 beta 3", "2.1b3", same},
                                         OrderCase{"DevelopmentBuildCountsAsBeta", "2.1d2", "2.1b2", same},
                                         OrderCase{"BetaNumbersCompareByValue", "2.1b10", "2.1b9", descending},
                                         OrderCase{"AlphaIsOlderThanBeta", "2.1a1", "2.1b1", ascending},
                                         OrderCase{"BetaIsOlderThanCandidate", "2.1b1", "2.1rc1", ascending},
                                         OrderCase{"PatchReleaseBeatsBeta", "1.0.5", "1.0b5", descending},
                                         OrderCase{"NumberBeatsString", "1.5", "1.b5", descending},
                                         OrderCase{"BetaOfALongerReleaseIsNewer", "1.0", "1.0.0b1", ascending},
                                         OrderCase{"UpperCaseBIsOlderThanLowerCaseB", "1.0B1", "1.0b1", ascending},
                                         OrderCase{"OtherStringsKeepTheirCase", "1.0RC1", "1.0rc1", ascending},
                                         OrderCase{"UpperCaseBetaIsB", "1.0BETA1", "1.0b1", same},
                                         OrderCase{"CapitalizedBetaIsB", "1.0Beta1", "1.0b1", same},
                                         OrderCase{"UpperCaseDIsB", "1.0D1", "1.0b1", same},
                                         OrderCase{"BetamaxIsNotBeta", "1.0betamax1", "1.0b1", descending},
                                         OrderCase{"DevIsNotD", "1.0dev1", "1.0b1", descending}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(Markers, VeskVersionComparatorOrderTest,
                         testing::Values(OrderCase{"AnyCaseOfTheMarker", "2.1 BeTa3", "2.1b3", same},
                                         OrderCase{"UpperCaseB", "2.1 B3", "2.1b3", same},
                                         OrderCase{"UpperCaseD", "2.1 D 3", "2.1b3", same},
                                         OrderCase{"ManyBlanksOfAllKinds", "2.1 \t\n\v\f\r beta \r\n 3", "2.1b3", same},
                                         OrderCase{"NoBreakSpaces", "2.1\u00A0beta\u00A03", "2.1b3", same},
                                         OrderCase{"WideAndThinSpaces", "2.1\u3000beta\u20093", "2.1b3", same},
                                         OrderCase{"DigitsOfAnyScript", "2.1 beta \u0663", "2.1b3", same},
                                         OrderCase{"MarkerAtTheBeginning", " b3", "b3", same},
                                         OrderCase{"SeveralMarkers", "1 b 2 d 3 beta 4", "1b2b3b4", same},
                                         OrderCase{"MarkerJoinsTheStringBeforeIt", "1rc beta 3", "1rcb3", same},
                                         OrderCase{"JoinedMarkerIsNotAMarkerOfItsOwn", "1rc b3", "1rc", descending},
                                         OrderCase{"JoinedMarkerIsComparedWithTheRest", "1r b3", "1rc3", ascending},
                                         OrderCase{"JoinedMarkersOfEqualStrings", "1r b3", "1r d3", same},
                                         OrderCase{"MarkerWithoutBlankKeepsItsPlace", "2.1beta3", "2.1b3", same},
                                         OrderCase{"MarkerWithoutDigitsStays", "2.1 beta", "2.1.b", same},
                                         OrderCase{"MarkerBehindAMarkerWithoutDigits", "2 b  b3", "2.bb3", same},
                                         OrderCase{"CandidateIsNoMarker", "1.0 rc2", "1.0-rc2", same},
                                         OrderCase{"BetweenBlanksOnlyTheLastRunCounts", "1 -  b3", "1.-b3", same},
                                         OrderCase{"AccentedMarkerIsNone", "1 b\u03013", "1.b\u03013", same}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(Empty, VeskVersionComparatorOrderTest,
                         testing::Values(OrderCase{"AbsentIsEmpty", std::nullopt, std::nullopt, same},
                                         OrderCase{"AbsentEqualsEmpty", std::nullopt, "", same},
                                         OrderCase{"EmptyEqualsEmpty", "", "", same},
                                         OrderCase{"AbsentIsOlderThanARelease", std::nullopt, "1.0", ascending},
                                         OrderCase{"AbsentEqualsZero", std::nullopt, "0", same},
                                         OrderCase{"EmptyEqualsZeroPointZero", "", "0.0", same},
                                         OrderCase{"EmptyEqualsDoubleZero", "", "00", same},
                                         OrderCase{"EmptyEqualsPeriodZero", "", ".0", same},
                                         OrderCase{"EmptyIsOlderThanASeparator", "", ".", ascending},
                                         OrderCase{"EmptyIsNewerThanAString", "", "b1", descending}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(
    Unicode, VeskVersionComparatorOrderTest,
    testing::Values(OrderCase{"DigitsOfOtherScriptsCompareByValue", "1.\u0661\u0660", "1.9", descending},
                    OrderCase{"ScriptsMixInOneNumber", "1\u0662", "12", same},
                    OrderCase{"ZeroOfAnotherScriptIsInsignificant", "1", "1.\u0660", same},
                    OrderCase{"MarkOnADigitEndsTheNumber", "1\u03012", "1", same},
                    OrderCase{"SymbolsAreStrings", "1+1", "1~1", ascending},
                    OrderCase{"SymbolMarksAPreRelease", "1.0+1", "1.0", ascending},
                    OrderCase{"LettersOfOtherScriptsAreStrings", "1.0\u03B21", "1.0", ascending},
                    OrderCase{"PunctuationOfOtherScriptsSeparates", "1\u30FB2", "1.2", same},
                    OrderCase{"NoBreakSpaceSeparates", "1\u00A02", "1.2", same},
                    OrderCase{"MarkOnASeparatorBelongsToIt", "1.\u03012", "1.2", same},
                    OrderCase{"MarkAfterALineBreakStandsAlone", "1\n\u03012", "1.2", ascending},
                    OrderCase{"ComposedEqualsDecomposed", "1\u00E91", "1e\u03011", same},
                    OrderCase{"OrderOfMarksDoesNotCount", "1e\u0323\u0301", "1e\u0301\u0323", same},
                    OrderCase{"PrependedSignBelongsToTheNextCharacter", "\u06001", "1", ascending},
                    OrderCase{"DifferentBadBytesDiffer", "1\xFE", "1\xFF", ascending},
                    OrderCase{"BadByteIsAString", "1\xC3", "1", ascending},
                    OrderCase{"EmbeddedZeroByteIsAString", std::string_view("1\0", 2), "1", ascending}),
    caseName);

/// The same rules in the plainest form: regular expression, list of parts, pairwise comparison.
class ReferenceComparator {
 public:
  ComparisonResult compare(const std::u32string& a, const std::u32string& b) const {
    const auto first = split(normalize(a));
    const auto second = split(normalize(b));
    const std::size_t shared = std::min(first.size(), second.size());
    for (std::size_t i = 0; i < shared; ++i) {
      const int order = compareParts(first[i], second[i]);
      if (order != 0) return order < 0 ? ascending : descending;
    }
    if (first.size() == second.size()) return same;
    if (insignificant({first.begin() + static_cast<std::ptrdiff_t>(shared), first.end()})) return same;
    if (insignificant({second.begin() + static_cast<std::ptrdiff_t>(shared), second.end()})) return same;
    if (second.size() > shared) return type(second[shared][0]) == 's' ? descending : ascending;
    return type(first[shared][0]) == 's' ? ascending : descending;
  }

 private:
  using Text = std::wstring;

  static constexpr const wchar_t* kBlanks = L"\t\n\v\f\r \u0085\u00A0\u3000";

  Text normalize(const std::u32string& version) const {
    Text text(version.begin(), version.end());
    std::replace(text.begin(), text.end(), L'\u00A0', L' ');
    return std::regex_replace(text, marker_, L"b$2");
  }

  static char type(wchar_t c) {
    if (digit(c) >= 0) return 'n';
    return Text(kBlanks).find(c) != Text::npos || Text(L".-_,(\u30FB").find(c) != Text::npos ? '.' : 's';
  }

  static int digit(wchar_t c) {
    if (c >= L'0' && c <= L'9') return static_cast<int>(c - L'0');
    return c >= L'\u0660' && c <= L'\u0669' ? static_cast<int>(c - L'\u0660') : -1;
  }

  /// Characters as a reader sees them: an accent joins what it stands on, unless that ends a line.
  static std::vector<Text> characters(const Text& text) {
    std::vector<Text> list;
    for (const wchar_t c : text) {
      const wchar_t before = list.empty() ? L'\n' : list.back().back();
      const bool afterControl = before < L' ' || before == L'\u0085';
      const bool joins = (c == L'\u0301' && !afterControl) || (c == L'\n' && before == L'\r');
      if (joins) {
        list.back() += c;
      } else {
        list.emplace_back(1, c);
      }
    }
    return list;
  }

  static std::vector<Text> split(const Text& text) {
    std::vector<Text> parts;
    char previous = '.';
    for (const Text& character : characters(text)) {
      const char kind = type(character[0]);
      if (kind != previous || previous == '.') parts.emplace_back();
      parts.back() += character;
      previous = kind;
    }
    return parts;
  }

  static long long number(const Text& part) {
    long long value = 0;
    for (const wchar_t c : part) {
      if (digit(c) < 0) break;
      value = std::min(value * 10 + digit(c), 2147483647LL);
    }
    return value;
  }

  static Text folded(const Text& part) {
    Text lower = part;
    for (wchar_t& c : lower) c = c < 128 ? static_cast<wchar_t>(std::tolower(static_cast<int>(c))) : c;
    return lower == L"beta" || lower == L"d" ? L"b" : part;
  }

  static int compareParts(const Text& a, const Text& b) {
    const std::string ranks = "s.n";
    const char typeA = type(a[0]);
    const char typeB = type(b[0]);
    if (typeA != typeB) return ranks.find(typeA) < ranks.find(typeB) ? -1 : 1;
    if (typeA == '.') return 0;
    if (typeA == 's') return folded(a).compare(folded(b));
    return number(a) == number(b) ? 0 : number(a) < number(b) ? -1 : 1;
  }

  static bool insignificant(const std::vector<Text>& parts) {
    bool sawZero = false;
    for (const Text& part : parts) {
      if (type(part[0]) == '.') continue;
      if (type(part[0]) == 's' || number(part) != 0) return false;
      sawZero = true;
    }
    return sawZero;
  }

  std::wregex marker_{L"[" + Text(kBlanks) + L"]+(beta|b|d)[" + Text(kBlanks) + L"]*([0-9\u0660-\u0669]+)",
                      std::regex::icase | std::regex::optimize};
};

std::string utf8(const std::u32string& text) {
  std::string bytes;
  for (const char32_t c : text) {
    if (c < 0x80) {
      bytes += static_cast<char>(c);
    } else if (c < 0x800) {
      bytes += {static_cast<char>(0xC0 | (c >> 6)), static_cast<char>(0x80 | (c & 0x3F))};
    } else {
      bytes += {static_cast<char>(0xE0 | (c >> 12)), static_cast<char>(0x80 | ((c >> 6) & 0x3F)),
                static_cast<char>(0x80 | (c & 0x3F))};
    }
  }
  return bytes;
}

/// Short random versions over pieces that meet one another's rules, and versions that differ from those in one place.
class VersionGenerator {
 public:
  VersionGenerator(unsigned seed, std::vector<std::u32string> pieces) : random_(seed), pieces_(std::move(pieces)) {}

  std::u32string version() {
    std::u32string text;
    for (unsigned left = random_() % 8; left > 0; --left) text += piece();
    return text;
  }

  std::u32string variation(std::u32string text) {
    const std::size_t place = random_() % (text.size() + 1);
    return text.replace(place, random_() % 2, piece());
  }

 private:
  const std::u32string& piece() { return pieces_[random_() % pieces_.size()]; }

  std::mt19937 random_;
  std::vector<std::u32string> pieces_;
};

const std::vector<std::u32string> kASCIIPieces = {
    U"0", U"1", U"2",    U"10",   U"00", U".",  U".", U"-", U" ",  U"  ",  U"\r\n",   U"b",         U"B",
    U"d", U"D", U"beta", U"BETA", U"be", U"rc", U"a", U"+", U" b", U" d ", U" beta ", U"3000000000"};

std::vector<std::u32string> unicodePieces() {
  std::vector<std::u32string> pieces = kASCIIPieces;
  for (const char32_t* piece :
       {U"\u00A0", U"\u3000", U"\u0660", U"\u0663", U"\u0301", U"\u30FB", U"\u0085", U"\u03B2"}) {
    pieces.emplace_back(piece);
  }
  return pieces;
}

void expectAgreementWithReference(VersionGenerator generator, int rounds) {
  const ReferenceComparator reference;
  for (int i = 0; i < rounds; ++i) {
    const std::u32string a = generator.version();
    const std::u32string b = i % 2 == 0 ? generator.variation(a) : generator.version();
    ASSERT_EQ(compare(utf8(a), utf8(b)), reference.compare(a, b)) << '"' << utf8(a) << "\" / \"" << utf8(b) << '"';
  }
}

TEST(VeskVersionComparatorTest, AgreesWithThePlainReferenceOnASCIIVersions) {
  expectAgreementWithReference(VersionGenerator(1, kASCIIPieces), 6000);
}

TEST(VeskVersionComparatorTest, AgreesWithThePlainReferenceOnUnicodeVersions) {
  expectAgreementWithReference(VersionGenerator(2, unicodePieces()), 6000);
}

TEST(VeskVersionComparatorTest, ReadsASCIIVersionsAlikeWithBothReaders) {
  // A Greek letter at the end sends both versions to the Unicode reader and is itself equal.
  VersionGenerator generator(3, kASCIIPieces);
  for (int i = 0; i < 5000; ++i) {
    const std::string a = utf8(generator.version()) + ".1";
    const std::string b = utf8(generator.variation(generator.version())) + ".1";

    ASSERT_EQ(compare(a + "\u03B2", b + "\u03B2"), compare(a + "x", b + "x")) << '"' << a << "\" / \"" << b << '"';
  }
}

TEST(VeskVersionComparatorTest, IsReflexiveAndAntisymmetric) {
  VersionGenerator generator(4, unicodePieces());
  for (int i = 0; i < 5000; ++i) {
    const std::string a = utf8(generator.version());
    const std::string b = utf8(generator.version());

    ASSERT_EQ(compare(a, a), same) << '"' << a << '"';
    ASSERT_EQ(compare(a, b), reversed(compare(b, a))) << '"' << a << "\" / \"" << b << '"';
  }
}

TEST(VeskVersionComparatorTest, LongHostileVersionsTakeLinearTime) {
  const std::string blanks = "1" + std::string(1'000'000, ' ') + "x";
  const std::string markers = [] {
    std::string text;
    for (int i = 0; i < 200'000; ++i) text += " b ";
    return text;
  }();

  EXPECT_EQ(compare(blanks, "1" + std::string(1'000'000, '-') + "x"), same);
  EXPECT_EQ(compare(markers, markers + "1"), ascending) << "the last marker joins the string before it";
}

}  // namespace
}  // namespace quillon
