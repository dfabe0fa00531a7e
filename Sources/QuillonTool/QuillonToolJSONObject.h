#pragma once

#include <concepts>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

/// Writes a JSON object (RFC 8259) in one line, members in the order they are added.
///
/// The text is valid UTF-8: control characters are escaped, those of the C1 range (U+0080 to U+009F)
/// and DELETE too, which terminals act on; each byte that belongs to no well-formed sequence becomes U+FFFD.
class QuillonToolJSONObject {
 public:
  /// Adds a text, or null. A key must not be added twice.
  QuillonToolJSONObject& with(std::string_view key, const std::optional<std::string_view>& value);
  /// Adds a number, in full: a reader that keeps numbers as doubles is exact only up to 2^53.
  template <std::integral Integer>
  requires(!std::same_as<Integer, bool>) QuillonToolJSONObject& withNumber(std::string_view key, Integer value) {
    return withLiteral(key, std::to_string(value));
  }
  QuillonToolJSONObject& withBool(std::string_view key, bool value);
  QuillonToolJSONObject& withObject(std::string_view key, const QuillonToolJSONObject& value);
  /// Adds an array.
  QuillonToolJSONObject& withObjects(std::string_view key, const std::vector<QuillonToolJSONObject>& values);

  QuillonToolJSONObject& withTexts(std::string_view key, const std::vector<std::string_view>& values);

  [[nodiscard]] std::string text() const { return "{" + members_ + "}"; }

 private:
  QuillonToolJSONObject& withLiteral(std::string_view key, std::string_view literal);

  std::string members_;
};

}  // namespace quillon
