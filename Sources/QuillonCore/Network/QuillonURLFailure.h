#pragma once

#include <string_view>

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonCore/Values/QuillonURLError.h"

namespace quillon {

/// The error of a transfer: "Cannot load https://example.com: REASON". Of a URL only scheme, host and port are named,
/// of a file its path: what else there is may be a secret. Control characters of `reason`, which can come from the
/// other end, are replaced by '?'.
[[nodiscard]] QuillonURLError urlFailure(QuillonURLErrorCode code, const QuillonURL& url, std::string_view reason);

/// What every transfer that was told to stop throws.
[[nodiscard]] QuillonURLError cancelledTransfer(const QuillonURL& url);

}  // namespace quillon
