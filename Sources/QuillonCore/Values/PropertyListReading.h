#pragma once

#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// The text of `key`; empty when it is missing or no string.
[[nodiscard]] inline const std::string& stringOrEmpty(const QuillonPropertyListValue::Dictionary& dictionary,
                                                      std::string_view key) noexcept {
  static const std::string kEmpty;
  const auto found = dictionary.find(key);
  const auto* const text = found == dictionary.end() ? nullptr : found->second.getIf<std::string>();
  return text == nullptr ? kEmpty : *text;
}

}  // namespace quillon
