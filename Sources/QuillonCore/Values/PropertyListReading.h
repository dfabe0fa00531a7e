#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonPropertyListDocument.h"
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

/// The text of `key`, good as long as the document; empty when it is missing or no string.
[[nodiscard]] inline std::string_view stringOrEmpty(QuillonPropertyListNode dictionary, std::string_view key) noexcept {
  const std::optional<QuillonPropertyListNode> value = dictionary.find(key);
  return value ? value->stringIf().value_or(std::string_view()) : std::string_view();
}

}  // namespace quillon
