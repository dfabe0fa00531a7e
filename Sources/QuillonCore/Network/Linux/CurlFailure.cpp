#include "QuillonCore/Network/Linux/CurlFailure.h"

#include <cerrno>

#include "QuillonCore/Network/QuillonURLFailure.h"

namespace quillon {
namespace {

bool hasHarmlessDetail(CURLcode result) noexcept {
  switch (result) {
    case CURLE_COULDNT_CONNECT:
    case CURLE_GOT_NOTHING:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
    case CURLE_PARTIAL_FILE:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_UNSUPPORTED_PROTOCOL:
      return true;
    default:
      return false;
  }
}

}  // namespace

QuillonURLErrorCode urlErrorCode(CURLcode result, long systemError) noexcept {
  switch (result) {
    case CURLE_URL_MALFORMAT:
      return QuillonURLErrorCode::badURL;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      return QuillonURLErrorCode::cannotFindHost;
    case CURLE_COULDNT_CONNECT:
    case CURLE_PROXY:
      return systemError == ENETUNREACH || systemError == ENETDOWN ? QuillonURLErrorCode::notConnectedToInternet
                                                                   : QuillonURLErrorCode::cannotConnectToHost;
    case CURLE_OPERATION_TIMEDOUT:
      return QuillonURLErrorCode::timedOut;
    case CURLE_GOT_NOTHING:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
      return QuillonURLErrorCode::networkConnectionLost;
    case CURLE_UNSUPPORTED_PROTOCOL:  // what answered does not speak HTTP; other schemes are never asked
    case CURLE_WEIRD_SERVER_REPLY:
      return QuillonURLErrorCode::badServerResponse;
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_WRITE_ERROR:  // of a decoder: the receiver's own errors come first
      return QuillonURLErrorCode::cannotDecodeContentData;
    case CURLE_PEER_FAILED_VERIFICATION:
      return QuillonURLErrorCode::serverCertificateUntrusted;
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_SSL_SHUTDOWN_FAILED:
      return QuillonURLErrorCode::secureConnectionFailed;
    default:
      return QuillonURLErrorCode::unknown;
  }
}

QuillonURLError curlFailure(CURLcode result, long systemError, const QuillonURL& url, std::string_view detail) {
  const bool usesDetail = hasHarmlessDetail(result) && !detail.empty();
  return urlFailure(urlErrorCode(result, systemError), url,
                    usesDetail ? detail : std::string_view(curl_easy_strerror(result)));
}

}  // namespace quillon
