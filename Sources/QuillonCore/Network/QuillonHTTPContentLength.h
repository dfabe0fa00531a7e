#pragma once

#include <cstdint>
#include <vector>

#include "QuillonCore/Values/QuillonURLRequest.h"

namespace quillon {

/// Length of the body as a response's fields announce it (RFC 9110, section 8.6); -1 when they announce none, none that
/// is a number, or several.
[[nodiscard]] std::int64_t announcedBodyLength(const std::vector<QuillonHTTPHeaderField>& fields);

/// Bytes that a reader of the body will get as the fields announce it: -1 also where the body is encoded or chunked, as
/// the announced length is not that of what the reader gets.
[[nodiscard]] std::int64_t expectedContentLength(const std::vector<QuillonHTTPHeaderField>& fields);

}  // namespace quillon
