#include "QuillonCore/Text/QuillonByteCountFormatter.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace quillon {
namespace {

/// Which word for bytes goes with a number.
enum class Plural { one, few, many };
using PluralRule = Plural (*)(std::uint64_t number);

Plural invariable(std::uint64_t /*number*/) noexcept {
  return Plural::many;
}

Plural oneOrMany(std::uint64_t number) noexcept {
  return number == 1 ? Plural::one : Plural::many;
}

bool endsInTwoToFour(std::uint64_t number) noexcept {
  const bool isTeen = number % 100 / 10 == 1;
  return !isTeen && number % 10 >= 2 && number % 10 <= 4;
}

Plural polish(std::uint64_t number) noexcept {
  if (number == 1) return Plural::one;
  return endsInTwoToFour(number) ? Plural::few : Plural::many;
}

Plural eastSlavic(std::uint64_t number) noexcept {
  if (number % 10 == 1 && number % 100 != 11) return Plural::one;
  return endsInTwoToFour(number) ? Plural::few : Plural::many;
}

/// How a language writes sizes.
struct Style {
  std::string_view language;
  char decimalSeparator;
  /// Between number and unit.
  std::string_view space;
  std::string_view zero;
  PluralRule plural;
  /// By Plural.
  std::array<std::string_view, 3> bytes;
  /// Of 1000, 1000², … 1000⁶ bytes.
  std::array<std::string_view, 6> units;
};

constexpr std::array<std::string_view, 6> kLatinUnits{"KB", "MB", "GB", "TB", "PB", "EB"};

// Words, plural rules and separators are those of the Unicode CLDR (units "digital-…", short), with two exceptions: the
// capital K of kilobytes, as Apple's published results for NSByteCountFormatter have it ("1 KB", "123,457 KB"), and the
// word for zero, of which that formatter's documentation only tells the English. No line but the English has been held
// against a Mac, nor has an exact half been, which is rounded up here.
constexpr std::array kStyles{
    Style{"en", '.', " ", "Zero", oneOrMany, {"byte", "bytes", "bytes"}, kLatinUnits},
    Style{"de", ',', " ", "Null", oneOrMany, {"Byte", "Byte", "Byte"}, kLatinUnits},
    Style{"fr", ',', " ", "Zéro", oneOrMany, {"octet", "octets", "octets"}, {"Ko", "Mo", "Go", "To", "Po", "Eo"}},
    Style{"es", ',', " ", "Cero", oneOrMany, {"byte", "bytes", "bytes"}, kLatinUnits},
    Style{"it", ',', " ", "Zero", oneOrMany, {"byte", "byte", "byte"}, kLatinUnits},
    Style{"pt", ',', " ", "Zero", oneOrMany, {"byte", "bytes", "bytes"}, kLatinUnits},
    Style{"nl", ',', " ", "Nul", oneOrMany, {"byte", "bytes", "bytes"}, kLatinUnits},
    Style{"pl", ',', " ", "Zero", polish, {"bajt", "bajty", "bajtów"}, kLatinUnits},
    Style{"ru", ',', " ", "Ноль", eastSlavic, {"байт", "байта", "байт"}, {"КБ", "МБ", "ГБ", "ТБ", "ПБ", "ЭБ"}},
    Style{"uk", ',', " ", "Нуль", eastSlavic, {"байт", "байти", "байтів"}, {"КБ", "МБ", "ГБ", "ТБ", "ПБ", "ЕБ"}},
    Style{"tr", ',', " ", "Sıfır", invariable, {"bayt", "bayt", "bayt"}, kLatinUnits},
    Style{"ja", '.', " ", "ゼロ", invariable, {"バイト", "バイト", "バイト"}, kLatinUnits},
    Style{"ko", '.', "", "0", invariable, {"바이트", "바이트", "바이트"}, kLatinUnits},
    Style{"zh-Hans", '.', " ", "零", invariable, {"字节", "字节", "字节"}, kLatinUnits},
    Style{"zh-Hant", '.', " ", "零", invariable, {"位元組", "位元組", "位元組"}, kLatinUnits},
};

/// Regions that write a point where their language has a comma (CLDR).
constexpr std::array<std::string_view, 16> kRegionsWithPoint{"de-ch", "de-li", "it-ch", "es-419", "es-cu", "es-do",
                                                             "es-gt", "es-hn", "es-mx", "es-ni",  "es-pa", "es-pe",
                                                             "es-pr", "es-sv", "es-us", "es-bz"};

/// The parts of a language tag in lower case: language, then script, region and variants as far as they are there.
std::vector<std::string> subtags(std::string_view language) {
  std::vector<std::string> parts(1);
  for (const char c : language) {
    if (c == '-' || c == '_') {
      parts.emplace_back();
    } else {
      parts.back().push_back(c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c);
    }
  }
  return parts;
}

bool isTraditionalChinese(const std::vector<std::string>& tag) {
  const auto has = [&tag](std::string_view part) { return std::ranges::find(tag, part) != tag.end(); };
  if (has("hans")) return false;
  return has("hant") || has("tw") || has("hk") || has("mo");
}

Style styleOf(std::string_view language) {
  const std::vector<std::string> tag = subtags(language);
  std::string_view name = tag.front();
  if (name == "zh") name = isTraditionalChinese(tag) ? "zh-Hant" : "zh-Hans";
  const auto found = std::ranges::find(kStyles, name, &Style::language);
  Style style = found == kStyles.end() ? kStyles.front() : *found;
  const std::string region = tag.front() + "-" + tag.back();
  if (std::ranges::find(kRegionsWithPoint, region) != kRegionsWithPoint.end()) style.decimalSeparator = '.';
  return style;
}

/// A count as it is written: in units of 1000 to the `power`, times 10 to the `fractionDigits`.
struct RoundedCount {
  std::size_t power = 0;
  std::size_t fractionDigits = 0;
  std::uint64_t scaled = 0;
};

std::uint64_t powerOf(std::uint64_t base, std::size_t exponent) noexcept {
  std::uint64_t result = 1;
  for (std::size_t i = 0; i < exponent; ++i) result *= base;
  return result;
}

/// `magnitude` in units of 1000 to the `power`; absent when it rounds to 1000 of them.
std::optional<RoundedCount> rounded(std::uint64_t magnitude, std::size_t power) noexcept {
  const std::size_t fractionDigits = power < 2 ? 0 : std::min<std::size_t>(power - 1, 2);
  const std::uint64_t limit = powerOf(10, 3 + fractionDigits);
  const std::uint64_t step = powerOf(1000, power) / powerOf(10, fractionDigits);
  const std::uint64_t scaled = magnitude / step + (magnitude % step >= step - step / 2 ? 1 : 0);
  if (scaled >= limit) return std::nullopt;
  return RoundedCount{.power = power, .fractionDigits = fractionDigits, .scaled = scaled};
}

RoundedCount rounded(std::uint64_t magnitude) noexcept {
  for (std::size_t power = 0; power < kLatinUnits.size(); ++power) {
    if (const auto count = rounded(magnitude, power)) return *count;
  }
  // 64 bits hold less than 20 EB.
  return rounded(magnitude, kLatinUnits.size()).value_or(RoundedCount{});
}

std::string digitsOf(const RoundedCount& count, char decimalSeparator) {
  std::string digits = std::to_string(count.scaled);
  if (count.fractionDigits == 0) return digits;
  digits.insert(digits.size() - count.fractionDigits, 1, decimalSeparator);
  return digits;
}

}  // namespace

std::string formattedFileByteCount(std::int64_t bytes, std::string_view language) {
  const Style style = styleOf(language);
  if (bytes == 0) return std::string(style.zero).append(style.space).append(style.units.front());
  const auto value = static_cast<std::uint64_t>(bytes);
  const RoundedCount count = rounded(bytes < 0 ? 0 - value : value);
  const std::string_view unit = count.power == 0 ? style.bytes[static_cast<std::size_t>(style.plural(count.scaled))]
                                                 : style.units[count.power - 1];
  std::string text = bytes < 0 ? "-" : "";
  return text.append(digitsOf(count, style.decimalSeparator)).append(style.space).append(unit);
}

}  // namespace quillon
