#pragma once

#include <stop_token>

#include "QuillonCore/Contracts/QuillonNetworkClient.h"
#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"

namespace quillon {

/// The request for a feed: no cache on the way may answer it without asking the server (RFC 9111, section 5.2.1.4; the
/// older form for caches of HTTP/1.0 besides, section 5.4).
[[nodiscard]] QuillonURLRequest feedRequest(const QuillonURL& url);

/// The feed at `url` as its server has it. Throws UpdateFailure, or QuillonCancellationError after a stop.
[[nodiscard]] VeskUpdateFeed downloadFeed(const QuillonNetworkClient& network, const QuillonURL& url,
                                          const std::stop_token& stopToken);

}  // namespace quillon
