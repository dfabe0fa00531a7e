#pragma once

#include <curl/curl.h>

#include <vector>

#include "QuillonCore/Network/Linux/CurlHandles.h"
#include "QuillonCore/Values/QuillonURLRequest.h"

namespace quillon {

/// The header fields of `request` as libcurl takes them. Throws QuillonURLError (`badURL`) for a name that is no token
/// (RFC 9110, section 5.1) and for a value with a line break or NUL.
[[nodiscard]] CurlTextList curlHeaderFields(const QuillonURLRequest& request);

/// The header fields of the response that `easy` received last.
[[nodiscard]] std::vector<QuillonHTTPHeaderField> receivedHeaderFields(CURL* easy);

}  // namespace quillon
