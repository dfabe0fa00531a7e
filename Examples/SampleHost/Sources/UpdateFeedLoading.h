#pragma once

#include <exception>
#include <stop_token>

#include "QuillonCore/Contracts/QuillonNetworkClient.h"
#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"

namespace sample {

/// The feed as its server has it at this moment. Blocks, so not for the main thread.
///
/// Throws QuillonURLError when the server gives none, and VeskUpdateFeedParserError for what is no feed.
[[nodiscard]] quillon::VeskUpdateFeed loadUpdateFeed(const quillon::QuillonNetworkClient& networkClient,
                                                     const quillon::QuillonURL& url, const std::stop_token& stopToken);

/// Whether `failure` means that this machine is offline, and not the server.
[[nodiscard]] bool meansOffline(const std::exception_ptr& failure) noexcept;

}  // namespace sample
