#pragma once

#include "QuillonCore/Values/QuillonURLRequest.h"

namespace quillon {

/// What every loading of this system takes: `http:` and `https:` with a valid host, and `file:`. Throws
/// QuillonURLError: `unsupportedURL` for another scheme; `badURL` for no valid host, for a header field whose name is
/// no token (RFC 9110, section 5.1), and for one whose value has a line break or NUL, which could become another field.
void requireLoadable(const QuillonURLRequest& request);

}  // namespace quillon
