#include "QuillonCore/Values/QuillonURLResponse.h"

#include <algorithm>

namespace quillon {
namespace {

// Field names are ASCII (RFC 9110, section 5.1).
char lowercase(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalFieldNames(std::string_view a, std::string_view b) noexcept {
  return std::ranges::equal(a, b, {}, lowercase, lowercase);
}

}  // namespace

std::optional<std::string_view> QuillonURLResponse::valueForHeaderField(std::string_view name) const noexcept {
  const auto field =
      std::ranges::find_if(headerFields, [&](const auto& candidate) { return equalFieldNames(candidate.name, name); });
  if (field == headerFields.end()) return std::nullopt;
  return field->value;
}

}  // namespace quillon
