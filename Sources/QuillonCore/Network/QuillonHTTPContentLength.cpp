#include "QuillonCore/Network/QuillonHTTPContentLength.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

namespace quillon {
namespace {

bool equalIgnoringCase(std::string_view a, std::string_view lower) noexcept {
  return std::ranges::equal(a, lower, {},
                            [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
}

std::int64_t lengthFrom(std::string_view text) noexcept {
  std::int64_t length = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
  return error == std::errc() && end == text.data() + text.size() && length >= 0 ? length : -1;
}

}  // namespace

std::int64_t announcedBodyLength(const std::vector<QuillonHTTPHeaderField>& fields) {
  std::optional<std::int64_t> announced;
  for (const QuillonHTTPHeaderField& field : fields) {
    if (equalIgnoringCase(field.name, "transfer-encoding")) return -1;
    if (!equalIgnoringCase(field.name, "content-length")) continue;
    const std::int64_t length = lengthFrom(field.value);
    if (announced && announced != length) return -1;
    announced = length;
  }
  return announced.value_or(-1);
}

std::int64_t expectedContentLength(const std::vector<QuillonHTTPHeaderField>& fields) {
  const bool isEncoded = std::ranges::any_of(fields, [](const QuillonHTTPHeaderField& field) {
    return equalIgnoringCase(field.name, "content-encoding") && !equalIgnoringCase(field.value, "identity");
  });
  return isEncoded ? -1 : announcedBodyLength(fields);
}

}  // namespace quillon
