#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Whom an `http:` or `https:` URL asks: the origin of RFC 6454.
struct QuillonURLOrigin {
  /// "http" or "https".
  std::string scheme;
  /// Lower case; an IPv6 address in brackets.
  std::string host;
  /// The scheme's own (80, 443) when the URL names none.
  std::uint16_t port = 0;

  /// Absent for other schemes and for an authority that readers could understand differently.
  [[nodiscard]] static std::optional<QuillonURLOrigin> of(const QuillonURL& url);
  /// Such as "https://example.com" or "http://[::1]:8080".
  [[nodiscard]] std::string text() const;

  friend bool operator==(const QuillonURLOrigin&, const QuillonURLOrigin&) = default;
};

}  // namespace quillon
