#pragma once

#include <curl/curl.h>

#include <vector>

#include "QuillonCore/Network/Linux/CurlHandles.h"
#include "QuillonCore/Values/QuillonURLRequest.h"

namespace quillon {

/// The header fields of `request`, of which requireLoadable() has been asked, as libcurl takes them.
[[nodiscard]] CurlTextList curlHeaderFields(const QuillonURLRequest& request);

/// The header fields of the response that `easy` received last.
[[nodiscard]] std::vector<QuillonHTTPHeaderField> receivedHeaderFields(CURL* easy);

}  // namespace quillon
