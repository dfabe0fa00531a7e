#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// One header field of a request or response (RFC 9110), as it was given or received.
struct QuillonHTTPHeaderField {
  std::string name;
  std::string value;

  friend bool operator==(const QuillonHTTPHeaderField&, const QuillonHTTPHeaderField&) = default;
};

/// What is asked of a server: GET of one location.
struct QuillonURLRequest {
  QuillonURL url;
  /// Sent besides the transport's own. A field with a line break or NUL in its name or value is an error.
  std::vector<QuillonHTTPHeaderField> headerFields = {};
  /// The transfer fails when nothing arrives for this long.
  std::chrono::milliseconds timeout = std::chrono::seconds(60);

  friend bool operator==(const QuillonURLRequest&, const QuillonURLRequest&) = default;
};

}  // namespace quillon
