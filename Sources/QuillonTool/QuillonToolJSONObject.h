#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillon {

/// Writes a flat JSON object (RFC 8259) in one line, members in the order they are added.
///
/// The text is valid UTF-8: control characters are escaped, those of the C1 range (U+0080 to U+009F)
/// and DELETE too, which terminals act on; each byte that belongs to no well-formed sequence becomes U+FFFD.
class QuillonToolJSONObject {
 public:
  /// Adds a text, or null. A key must not be added twice.
  QuillonToolJSONObject& with(std::string_view key, const std::optional<std::string_view>& value);

  [[nodiscard]] std::string text() const { return "{" + members_ + "}"; }

 private:
  std::string members_;
};

}  // namespace quillon
