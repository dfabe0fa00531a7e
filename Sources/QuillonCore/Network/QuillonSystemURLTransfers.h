#pragma once

#include <memory>

#include "QuillonCore/Network/QuillonURLTransferConfiguration.h"
#include "QuillonCore/Network/QuillonURLTransferring.h"

namespace quillon {

/// The platform's URL loading: `http:`, `https:` and `file:`. On Linux it keeps no cache, and cookies only from one
/// redirect of a transfer to the next. On macOS a URL session with the system's default configuration does all that
/// `configuration` is about, which has no say there.
[[nodiscard]] std::shared_ptr<const QuillonURLTransferring> makeSystemURLTransfers(
    QuillonURLTransferConfiguration configuration = {});

/// For small things, which arrive in one piece: on macOS the URL session that the process shares, elsewhere
/// makeSystemURLTransfers(). That session has no delegate: redirects, and what becomes of credentials on them, are left
/// to the system, and the receiver hears of everything at the end.
[[nodiscard]] std::shared_ptr<const QuillonURLTransferring> makeSharedURLTransfers();

}  // namespace quillon
