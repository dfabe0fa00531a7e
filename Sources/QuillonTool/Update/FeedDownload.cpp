#include "QuillonTool/Update/FeedDownload.h"

#include <chrono>
#include <string>
#include <utility>

#include "QuillonCore/Values/QuillonURLError.h"
#include "QuillonTool/Update/UpdateFailure.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParser.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParserError.h"

namespace quillon {
namespace {

constexpr auto kTimeout = std::chrono::seconds(30);
constexpr std::int32_t kFirstSuccessStatus = 200;
constexpr std::int32_t kLastSuccessStatus = 299;

QuillonURLData load(const QuillonNetworkClient& network, const QuillonURL& url, const std::stop_token& stopToken) {
  try {
    return network.data(feedRequest(url), stopToken);
  } catch (const QuillonURLError& error) {
    if (stopToken.stop_requested() || error.code() == QuillonURLErrorCode::cancelled) throw QuillonCancellationError();
    // Without a network no name is known.
    const bool isOffline = error.code() == QuillonURLErrorCode::notConnectedToInternet ||
                           error.code() == QuillonURLErrorCode::cannotFindHost;
    throw UpdateFailure(isOffline ? "offline" : "feedNotLoaded",
                        "The feed cannot be loaded: " + error.description() + ". Try again later.");
  }
}

void requireSuccess(const QuillonURLResponse& response) {
  const std::optional<std::int32_t> status = response.httpStatusCode;
  if (!status || (*status >= kFirstSuccessStatus && *status <= kLastSuccessStatus)) return;
  throw UpdateFailure("feedNotLoaded", "The server answered the request for the feed " + response.url.absoluteString() +
                                           " with status " + std::to_string(*status) +
                                           ". Try again later, or name another feed with --feed.");
}

}  // namespace

QuillonURLRequest feedRequest(const QuillonURL& url) {
  return {.url = url,
          .headerFields = {{.name = "Cache-Control", .value = "no-cache"}, {.name = "Pragma", .value = "no-cache"}},
          .timeout = kTimeout};
}

VeskUpdateFeed downloadFeed(const QuillonNetworkClient& network, const QuillonURL& url,
                            const std::stop_token& stopToken) {
  QuillonURLData data = load(network, url, stopToken);
  requireSuccess(data.response);
  try {
    return VeskUpdateFeedParser().parseFeed(std::move(data.body));
  } catch (const VeskUpdateFeedParserError& error) {
    throw UpdateFailure("noFeed", "What is at " + url.absoluteString() + " is no update feed: " + error.description() +
                                      ". 'quillon feed lint' says more about a feed.");
  }
}

}  // namespace quillon
