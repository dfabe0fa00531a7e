#include "QuillonCore/Runtime/QuillonLogLine.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <exception>

#include "QuillonCore/Text/QuillonScalars.h"

namespace quillon {
namespace {

constexpr std::string_view kCut = "...";
constexpr std::size_t kLongestCategory = 128;

/// Whether a character must not reach a log: it ends a line, steers a terminal, or turns the order of others around.
bool isHarmful(char32_t scalar) noexcept {
  if (scalar < 0x20 || (scalar >= 0x7F && scalar <= 0x9F)) return true;
  if (scalar == 0x061C || scalar == 0x200E || scalar == 0x200F) return true;
  return (scalar >= 0x2028 && scalar <= 0x202E) || (scalar >= 0x2066 && scalar <= 0x2069);
}

/// decodeScalars() has bytes that are no UTF-8 there, and nothing else.
bool isBadByte(char32_t scalar) noexcept {
  return scalar >= 0xDC00 && scalar <= 0xDFFF;
}

std::string escaped(char32_t scalar) {
  std::array<char, sizeof "\\u2028"> text{};
  const auto number = static_cast<unsigned>(isBadByte(scalar) ? scalar - 0xDC00 : scalar);
  std::snprintf(text.data(), text.size(), number < 0x100 ? "\\x%02x" : "\\u%04x", number);
  return text.data();
}

std::string_view nameOf(QuillonLogLevel level) noexcept {
  switch (level) {
    case QuillonLogLevel::debug:
      return "debug";
    case QuillonLogLevel::info:
      return "info";
    case QuillonLogLevel::warn:
      return "warn";
    case QuillonLogLevel::error:
      return "error";
  }
  return "unknown";
}

std::string iso8601(QuillonDate date) {
  using namespace std::chrono;
  constexpr QuillonDate kLast = sys_days(year(10'000) / January / 1) - microseconds(1);
  const QuillonDate shown = std::clamp(date, kDistantPast, kLast);
  const auto dayStart = floor<days>(shown);
  const year_month_day day(dayStart);
  const hh_mm_ss time(shown - dayStart);
  std::array<char, 96> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%06dZ", static_cast<int>(day.year()),
                static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
  return text.data();
}

std::string failureText(std::string_view reason, std::size_t limit) {
  return logText("(the text of this message could not be made: " + std::string(reason) + ")", limit);
}

}  // namespace

std::string logText(std::string_view text, std::size_t limit) {
  std::string result;
  // Where the mark still fits behind whole characters.
  std::size_t cut = 0;
  while (!text.empty()) {
    const std::string_view rest = text;
    const char32_t scalar = takeFirstScalar(text);
    if (isHarmful(scalar) || isBadByte(scalar)) {
      result += escaped(scalar);
    } else {
      result += rest.substr(0, rest.size() - text.size());
    }
    if (result.size() > limit) return result.replace(cut, std::string::npos, kCut);
    if (result.size() + kCut.size() <= limit) cut = result.size();
  }
  return result;
}

std::string logTextOf(const QuillonLogMessage& message, std::size_t limit) {
  try {
    return logText(message(), limit);
  } catch (const std::exception& error) {
    return failureText(error.what(), limit);
  } catch (...) {  // whatever a caller's function throws must not reach code that only wanted to log
    return failureText("unknown exception", limit);
  }
}

std::string logLine(QuillonDate date, QuillonLogLevel level, std::string_view category, std::string_view text) {
  std::string line = iso8601(date);
  line.append(" ").append(nameOf(level)).append(" [").append(logText(category, kLongestCategory)).append("] ");
  return line.append(text).append("\n");
}

}  // namespace quillon
