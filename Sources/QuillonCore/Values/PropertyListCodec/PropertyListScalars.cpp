#include "QuillonCore/Values/PropertyListCodec/PropertyListScalars.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <limits>

#include "QuillonCore/Text/RealNumber.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

constexpr std::string_view kBase64Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr unsigned kNoBase64 = 0xFF;

constexpr std::array<std::uint8_t, 256> base64Values() {
  std::array<std::uint8_t, 256> values{};
  values.fill(kNoBase64);
  for (std::size_t i = 0; i < kBase64Alphabet.size(); ++i) {
    values[static_cast<unsigned char>(kBase64Alphabet[i])] = static_cast<std::uint8_t>(i);
  }
  return values;
}
constexpr auto kBase64Values = base64Values();

constexpr bool isDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

/// Takes a sign off `text` and returns whether it was a minus.
bool takeSign(std::string_view& text) noexcept {
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) text.remove_prefix(1);
  return isNegative;
}

/// Digits of `text` from `position`, known to be digits.
unsigned digits(std::string_view text, std::size_t position, std::size_t count) noexcept {
  unsigned number = 0;
  for (std::size_t i = position; i < position + count; ++i) number = number * 10 + static_cast<unsigned>(text[i] - '0');
  return number;
}

bool hasDateForm(std::string_view text) noexcept {
  static constexpr std::string_view kForm = "dddd-dd-ddTdd:dd:ddZ";
  if (text.size() != kForm.size()) return false;
  for (std::size_t i = 0; i < kForm.size(); ++i) {
    if (kForm[i] == 'd' ? !isDigit(text[i]) : text[i] != kForm[i]) return false;
  }
  return true;
}

void appendDigits(std::string& text, unsigned number, std::size_t count) {
  const std::string all = std::to_string(number);
  text.append(count - all.size(), '0').append(all);
}

}  // namespace

template <typename T>
PropertyListScalar<T> PropertyListScalar<T>::wrong(std::string_view text, std::string_view why) {
  static constexpr std::size_t kLongestQuotation = 40;
  std::string problem = "\"" + std::string(text.substr(0, kLongestQuotation));
  problem.append(text.size() > kLongestQuotation ? "...\" " : "\" ").append(why);
  return {std::nullopt, std::move(problem)};
}

std::string_view withoutOuterSpace(std::string_view text) noexcept {
  while (!text.empty() && isPropertyListSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isPropertyListSpace(text.back())) text.remove_suffix(1);
  return text;
}

PropertyListScalar<std::int64_t> parsePropertyListInteger(std::string_view text) {
  using Scalar = PropertyListScalar<std::int64_t>;
  std::string_view rest = withoutOuterSpace(text);
  const bool isNegative = takeSign(rest);
  const bool isHexadecimal = rest.starts_with("0x") || rest.starts_with("0X");
  if (isHexadecimal) rest.remove_prefix(2);
  std::uint64_t magnitude = 0;
  const char* const end = rest.data() + rest.size();
  const auto [stop, error] = std::from_chars(rest.data(), end, magnitude, isHexadecimal ? 16 : 10);
  if (error == std::errc::invalid_argument || stop != end) return Scalar::wrong(text, "is not an integer");
  const auto limit = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) + (isNegative ? 1 : 0);
  if (error == std::errc::result_out_of_range || magnitude > limit) {
    return Scalar::wrong(text, "does not fit a signed 64-bit integer");
  }
  return Scalar::of(static_cast<std::int64_t>(isNegative ? 0 - magnitude : magnitude));
}

PropertyListScalar<double> parsePropertyListReal(std::string_view text) {
  using Scalar = PropertyListScalar<double>;
  std::string_view rest = withoutOuterSpace(text);
  const bool isNegative = takeSign(rest);
  // A second sign, and the "nan(...)" of C, mean nothing in a property list.
  const bool isNumber = !rest.empty() && rest.front() != '-' && rest.find('(') == std::string_view::npos;
  double magnitude = 0;
  const char* const end = rest.data() + rest.size();
  const auto [stop, error] = realFromCharacters(rest.data(), end, magnitude);
  if (!isNumber || error == std::errc::invalid_argument || stop != end) return Scalar::wrong(text, "is not a number");
  if (error == std::errc::result_out_of_range) return Scalar::wrong(text, "does not fit a 64-bit real");
  return Scalar::of(isNegative ? -magnitude : magnitude);
}

PropertyListScalar<QuillonPropertyListDate> parsePropertyListDate(std::string_view text) {
  using Scalar = PropertyListScalar<QuillonPropertyListDate>;
  const std::string_view form = withoutOuterSpace(text);
  if (!hasDateForm(form)) return Scalar::wrong(text, "is not a date of the form YYYY-MM-DDTHH:MM:SSZ");
  const std::chrono::year_month_day day(std::chrono::year(static_cast<int>(digits(form, 0, 4))),
                                        std::chrono::month(digits(form, 5, 2)), std::chrono::day(digits(form, 8, 2)));
  const std::chrono::hours hours(digits(form, 11, 2));
  const std::chrono::minutes minutes(digits(form, 14, 2));
  const std::chrono::seconds seconds(digits(form, 17, 2));
  if (!day.ok() || hours.count() > 23 || minutes.count() > 59 || seconds.count() > 59) {
    return Scalar::wrong(text, "is not a date of the calendar");
  }
  return Scalar::of(std::chrono::sys_days(day) + hours + minutes + seconds);
}

PropertyListScalar<std::string> parsePropertyListBase64(std::string_view text) {
  using Scalar = PropertyListScalar<std::string>;
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3 + 3);
  unsigned bits = 0;
  std::size_t characters = 0;
  std::size_t padding = 0;
  for (const char c : text) {
    if (isPropertyListSpace(c)) continue;
    if (c == '=') {
      ++padding;
      continue;
    }
    const unsigned value = kBase64Values[static_cast<unsigned char>(c)];
    if (value == kNoBase64 || padding > 0) return Scalar::wrong({&c, 1}, "has no place there in Base64 data");
    bits = (bits << 6 | value) & 0xFFFFFF;
    ++characters;
    const std::size_t phase = characters % 4;
    if (phase != 1) bytes += static_cast<char>(bits >> (phase == 0 ? 0 : 8 - 2 * phase) & 0xFF);
  }
  const bool isPadded = padding == 0 || (padding <= 2 && (characters + padding) % 4 == 0);
  if (characters % 4 == 1 || !isPadded) return {std::nullopt, "the Base64 data is incomplete"};
  return Scalar::of(std::move(bytes));
}

std::string propertyListRealText(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-infinity" : "+infinity";
  return shortestRealText(value);
}

std::string propertyListDateText(QuillonPropertyListDate date) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
  static constexpr std::chrono::sys_seconds kFirst{std::chrono::sys_days(std::chrono::year(0) / 1 / 1)};
  static constexpr std::chrono::sys_seconds kEnd{std::chrono::sys_days(std::chrono::year(10000) / 1 / 1)};
  if (seconds < kFirst || seconds >= kEnd) {
    throw QuillonPropertyListError("Cannot write the property list: a date is outside the years 0 to 9999");
  }
  const auto day = std::chrono::floor<std::chrono::days>(seconds);
  const std::chrono::year_month_day calendar(day);
  const std::chrono::hh_mm_ss time(seconds - day);
  std::string text;
  appendDigits(text, static_cast<unsigned>(static_cast<int>(calendar.year())), 4);
  appendDigits(text += '-', static_cast<unsigned>(calendar.month()), 2);
  appendDigits(text += '-', static_cast<unsigned>(calendar.day()), 2);
  appendDigits(text += 'T', static_cast<unsigned>(time.hours().count()), 2);
  appendDigits(text += ':', static_cast<unsigned>(time.minutes().count()), 2);
  appendDigits(text += ':', static_cast<unsigned>(time.seconds().count()), 2);
  return text += 'Z';
}

std::string propertyListBase64(const std::vector<std::uint8_t>& bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    unsigned bits = 0;
    for (std::size_t k = 0; k < 3; ++k) bits = bits << 8 | (k < count ? bytes[i + k] : 0U);
    for (std::size_t k = 0; k < 4; ++k) text += k <= count ? kBase64Alphabet[bits >> (18 - 6 * k) & 63] : '=';
  }
  return text;
}

}  // namespace quillon
