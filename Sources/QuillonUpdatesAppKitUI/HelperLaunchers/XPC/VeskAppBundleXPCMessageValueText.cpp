#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageValueText.h"

#include <cmath>
#include <cstddef>
#include <string_view>

#include "QuillonCore/Text/CountedNoun.h"
#include "QuillonCore/Text/RealNumber.h"

namespace quillon {
namespace {

constexpr std::size_t kLongestText = 80;

/// The beginning of a text in UTF-8, cut between two characters.
std::string shortened(std::string_view text) {
  if (text.size() <= kLongestText) return "\"" + std::string(text) + "\"";
  std::size_t end = kLongestText;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return "\"" + std::string(text.substr(0, end)) + "\"… (" + std::to_string(text.size()) + " bytes)";
}

std::string realText(double real) {
  if (std::isfinite(real)) return shortestRealText(real);
  if (std::isnan(real)) return "nan";
  return real < 0 ? "-inf" : "inf";
}

}  // namespace

std::string xpcMessageValueText(const QuillonPropertyListValue& value) {
  using Value = QuillonPropertyListValue;
  if (const auto* const text = value.getIf<std::string>()) return "string " + shortened(*text);
  if (const auto* const integer = value.getIf<std::int64_t>()) return "integer " + std::to_string(*integer);
  if (const auto* const boolean = value.getIf<bool>()) return *boolean ? "Boolean true" : "Boolean false";
  if (const auto* const real = value.getIf<double>()) return "real " + realText(*real);
  if (const auto* const array = value.getIf<Value::Array>()) return "array of " + std::to_string(array->size());
  if (const auto* const entries = value.getIf<Value::Dictionary>()) {
    return "dictionary of " + std::to_string(entries->size());
  }
  if (const auto* const data = value.getIf<QuillonPropertyListData>()) {
    return "data of " + countedNoun(data->bytes.size(), "byte", "bytes");
  }
  return "date";
}

}  // namespace quillon
