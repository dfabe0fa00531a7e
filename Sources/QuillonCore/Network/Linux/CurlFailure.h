#pragma once

#include <curl/curl.h>

#include <string_view>

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonCore/Values/QuillonURLError.h"

namespace quillon {

/// What a result of libcurl means. `systemError` is the `errno` value of the last connection attempt.
[[nodiscard]] QuillonURLErrorCode urlErrorCode(CURLcode result, long systemError) noexcept;

/// The error for the failed `result`. `detail` is what libcurl says about it; it is used only for results whose detail
/// cannot hold a URL or credentials.
[[nodiscard]] QuillonURLError curlFailure(CURLcode result, long systemError, const QuillonURL& url,
                                          std::string_view detail);

}  // namespace quillon
