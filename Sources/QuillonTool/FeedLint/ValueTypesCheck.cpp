#include <array>
#include <string>
#include <string_view>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonTool/FeedLint/FeedKeyTable.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using Keys = VeskUpdateFeedKeys;

std::string_view nameOf(PropertyListType type) noexcept {
  // In the order of PropertyListType.
  static constexpr std::array<std::string_view, 8> kNames = {
      "a Boolean", "an integer", "a real number", "a string", "data", "a date", "an array", "a dictionary"};
  return kNames.at(static_cast<std::size_t>(type));
}

/// What to write instead of `value`, which is no string.
std::string mendingOf(std::string_view key, const VeskUpdateFeedEntry& value) {
  if (const auto boolean = value.boolIf()) {
    return *boolean ? "Write <string>1</string>." : "Leave the key out, or write <string>0</string>.";
  }
  if (const auto integer = value.integerIf()) return "Write <string>" + std::to_string(*integer) + "</string>.";
  if (key == Keys::releaseDate) return "Write the day as <string>yyyy-MM-dd</string>.";
  return "Write the value as a <string>.";
}

bool mayBeNumber(std::string_view key, const VeskUpdateFeedEntry& value) noexcept {
  return key == Keys::interval && (value.integerIf() || value.realIf());
}

}  // namespace

void checkValueTypes(const VeskUpdateFeedEntry& entry, FeedEntryFindings& findings) {
  for (const auto& [key, value] : entry.entries()) {
    if (!isKnownFeedKey(key)) continue;
    const auto text = value.stringIf();
    if (text && text->empty()) {
      findings.addWarning(key, {.problem = "The value is empty.",
                                .effect = "It counts as missing.",
                                .mend = "Write a value, or leave the key out."});
    } else if (!text && !mayBeNumber(key, value)) {
      findings.addError(key, {.problem = "The value is " + std::string(nameOf(value.type())) + ", not a string.",
                              .effect = "It counts as missing.",
                              .mend = mendingOf(key, value)});
    }
  }
}

}  // namespace quillon
