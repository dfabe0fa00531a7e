#pragma once

#include <optional>
#include <string>

namespace quillon {

/// A URL's text as it goes over the wire: bytes that are not ASCII percent-encoded in path and query, "." and ".."
/// resolved. Absent when libcurl takes it for no URL.
[[nodiscard]] std::optional<std::string> wireURLText(const std::string& url);

/// The URL that `reference`, which may be relative, means when it stands in a response of `base` (RFC 3986, section 5).
/// Absent when it means none. Any scheme; whether the result may be loaded is for the caller to judge.
[[nodiscard]] std::optional<std::string> resolvedURLText(const std::string& base, const std::string& reference);

}  // namespace quillon
