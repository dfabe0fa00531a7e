#include "UpdateFeedLoading.h"

#include <string>
#include <utility>

#include "QuillonCore/Values/QuillonURLError.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParser.h"

namespace sample {

using quillon::QuillonURLError;
using quillon::QuillonURLErrorCode;

quillon::VeskUpdateFeed loadUpdateFeed(const quillon::QuillonNetworkClient& networkClient,
                                       const quillon::QuillonURL& url, const std::stop_token& stopToken) {
  // Caches on the way have to ask the server: a feed of yesterday offers what is withdrawn today.
  quillon::QuillonURLData loaded =
      networkClient.data({.url = url, .headerFields = {{.name = "Cache-Control", .value = "no-cache"}}}, stopToken);
  const auto status = loaded.response.httpStatusCode;  // a file has none
  if (status && (*status < 200 || *status > 299)) {
    throw QuillonURLError(QuillonURLErrorCode::badServerResponse,
                          url.absoluteString() + " answered with status " + std::to_string(*status));
  }
  return quillon::VeskUpdateFeedParser().parseFeed(std::move(loaded.body));
}

bool meansOffline(const std::exception_ptr& failure) noexcept {
  try {
    std::rethrow_exception(failure);
  } catch (const QuillonURLError& error) {
    // Without a network no name is known.
    return error.code() == QuillonURLErrorCode::notConnectedToInternet ||
           error.code() == QuillonURLErrorCode::cannotFindHost;
  } catch (...) {
    return false;
  }
}

}  // namespace sample
