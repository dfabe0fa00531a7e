#include "QuillonCore/Network/Linux/CurlTransfer.h"

#include <sys/socket.h>

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "QuillonCore/Network/Linux/CurlFailure.h"
#include "QuillonCore/Network/Linux/CurlHeaderFields.h"
#include "QuillonCore/Network/Linux/CurlURL.h"
#include "QuillonCore/Network/QuillonHTTPContentLength.h"
#include "QuillonCore/Network/QuillonURLFailure.h"
#include "QuillonCore/Network/QuillonURLRedirect.h"

namespace quillon {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr long kReadBytes = 512L * 1024;  // the most that libcurl takes
// libcurl brings at most 16 KB at a time. What arrives is handed on together after this time, or when it is so much: a
// receiver that wakes another thread for each piece would otherwise cost more than the transfer.
constexpr milliseconds kGatheringTime{10};
constexpr std::size_t kGatheredBytes = std::size_t{8} * 1024 * 1024;
/// A redirect's body is read up to here, which keeps the connection; behind it the connection is given up.
constexpr std::size_t kMaximumRedirectBodyBytes = std::size_t{64} * 1024;

/// The alert by which a peer says that it has said everything (RFC 8446, section 6): level warning, "close_notify". No
/// other message of TLS has two bytes.
constexpr std::string_view kCloseNotify{"\x01\x00", 2};

/// Once per process, for good: other users of libcurl in the host may outlive any transfer.
void initializeLibrary() {
  static const CURLcode result = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (result != CURLE_OK) throw std::bad_alloc();
}

QuillonURLError setUpFailure(const char* reason) {
  return {QuillonURLErrorCode::unknown, std::string("Cannot set up a transfer: ") + reason};
}

void require(CURLcode result) {
  if (result == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
  if (result != CURLE_OK) throw setUpFailure(curl_easy_strerror(result));
}

void require(CURLMcode result) {
  if (result == CURLM_OUT_OF_MEMORY) throw std::bad_alloc();
  if (result != CURLM_OK) throw setUpFailure(curl_multi_strerror(result));
}

template <typename Value>
void setOption(const CurlEasyHandle& easy, CURLoption option, Value value) {
  require(curl_easy_setopt(easy.get(), option, value));
}

template <typename Value>
Value information(CURL* easy, CURLINFO kind, Value fallback) noexcept {
  Value value = fallback;
  return curl_easy_getinfo(easy, kind, &value) == CURLE_OK ? value : fallback;
}

bool isBlankLine(std::string_view line) noexcept {
  return line == "\r\n" || line == "\n";
}

/// Whether a response of that status to GET has a body (RFC 9110, section 6.4.1).
bool hasBody(std::int32_t status) noexcept {
  return status != 204 && status != 304;
}

/// Keeps an easy handle in a multi handle for the time of one exchange.
class ScopedMembership {
 public:
  ScopedMembership(CURLM* multi, CURL* easy) : multi_(multi), easy_(easy) {
    require(curl_multi_add_handle(multi_, easy_));
  }
  ~ScopedMembership() { curl_multi_remove_handle(multi_, easy_); }
  ScopedMembership(const ScopedMembership&) = delete;
  ScopedMembership& operator=(const ScopedMembership&) = delete;

 private:
  CURLM* multi_;
  CURL* easy_;
};

}  // namespace

CurlTransfer::CurlTransfer(const QuillonURLTransferConfiguration& configuration, QuillonURLTransferReceiving& receiver,
                           const std::stop_token& stopToken)
    : configuration_(configuration), receiver_(receiver), stopToken_(stopToken) {
  initializeLibrary();
  multi_.reset(curl_multi_init());
  easy_.reset(curl_easy_init());
  if (!multi_ || !easy_) throw std::bad_alloc();
  setUp();
}

void CurlTransfer::setUp() {
  setOption(easy_, CURLOPT_NOSIGNAL, 1L);
  setOption(easy_, CURLOPT_QUICK_EXIT, 1L);  // a stop does not wait for the resolver
  setOption(easy_, CURLOPT_PROTOCOLS_STR, "http,https");
  setOption(easy_, CURLOPT_FOLLOWLOCATION, 0L);  // each step is judged here
  setOption(easy_, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  setOption(easy_, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  setOption(easy_, CURLOPT_SSL_VERIFYPEER, 1L);
  setOption(easy_, CURLOPT_SSL_VERIFYHOST, 2L);
  if (configuration_.certificateAuthorityFile) {
    setOption(easy_, CURLOPT_CAINFO, configuration_.certificateAuthorityFile->c_str());
    setOption(easy_, CURLOPT_CAPATH, static_cast<const char*>(nullptr));
  }
  if (!configuration_.usesProxiesOfEnvironment) setOption(easy_, CURLOPT_PROXY, "");
  setOption(easy_, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  setOption(easy_, CURLOPT_ACCEPT_ENCODING, "");  // all that libcurl can undo
  setOption(easy_, CURLOPT_COOKIEFILE, "");       // in memory, for chains of redirects that depend on them
  if (!configuration_.userAgent.empty()) setOption(easy_, CURLOPT_USERAGENT, configuration_.userAgent.c_str());
  setOption(easy_, CURLOPT_BUFFERSIZE, kReadBytes);
  setOption(easy_, CURLOPT_ERRORBUFFER, detail_.data());
  setOption(easy_, CURLOPT_HEADERFUNCTION, &CurlTransfer::headerCallback);
  setOption(easy_, CURLOPT_HEADERDATA, this);
  setOption(easy_, CURLOPT_WRITEFUNCTION, &CurlTransfer::bodyCallback);
  setOption(easy_, CURLOPT_WRITEDATA, this);
  // Without VERBOSE the trace callback is not called, and what TLS says is not traced.
  setOption(easy_, CURLOPT_VERBOSE, 1L);
  setOption(easy_, CURLOPT_DEBUGFUNCTION, &CurlTransfer::traceCallback);
  setOption(easy_, CURLOPT_DEBUGDATA, this);
}

void CurlTransfer::run(QuillonURLRequest request) {
  request_ = std::move(request);
  // A wake-up that comes while nothing waits ends the next wait.
  const std::stop_callback wakeUp(stopToken_, [this] { curl_multi_wakeup(multi_.get()); });
  for (int redirects = 0;; ++redirects) {
    throwIfStopped();
    exchange();
    if (!exchange_.location) return;
    if (redirects == configuration_.maximumRedirects) {
      throw urlFailure(QuillonURLErrorCode::httpTooManyRedirects, request_.url,
                       "it redirects after " + std::to_string(redirects) + " redirects");
    }
    const auto target = resolvedURLText(request_.url.absoluteString(), *exchange_.location);
    request_ = requestFollowingRedirect(request_, target.value_or(""));
  }
}

void CurlTransfer::prepare(const QuillonURLRequest& request) {
  const auto url = wireURLText(request.url.absoluteString());
  if (!url) throw urlFailure(QuillonURLErrorCode::badURL, request.url, "it is no URL that can be asked for");
  headerFields_ = curlHeaderFields(request);
  setOption(easy_, CURLOPT_URL, url->c_str());
  setOption(easy_, CURLOPT_HTTPHEADER, headerFields_.get());
  detail_.front() = '\0';
  exchange_ = {};
  lastArrival_ = steady_clock::now();
}

void CurlTransfer::exchange() {
  prepare(request_);
  const ScopedMembership membership(multi_.get(), easy_.get());
  throwIfFailed(waitForEnd());
  if (exchange_.location) return;
  throwIfMoreArrived();
  throwIfCutOff();
}

CURLcode CurlTransfer::waitForEnd() {
  for (;;) {
    throwIfStopped();
    int running = 0;
    require(curl_multi_perform(multi_.get(), &running));
    if (const auto result = resultIfEnded()) {
      if (!exchange_.failure) deliverGathered();
      return *result;
    }
    waitForMore();
  }
}

void CurlTransfer::waitForMore() {
  if (!gathered_.empty() && steady_clock::now() >= gatheredSince_ + kGatheringTime) deliverGathered();
  const auto quiet = std::chrono::duration_cast<milliseconds>(steady_clock::now() - lastArrival_);
  if (quiet >= request_.timeout) {
    deliverGathered();
    throw urlFailure(QuillonURLErrorCode::timedOut, request_.url,
                     "nothing arrived for " + std::to_string(request_.timeout.count()) + " ms");
  }
  auto rest = std::min<std::int64_t>((request_.timeout - quiet).count(), std::numeric_limits<int>::max());
  if (!gathered_.empty()) rest = std::min<std::int64_t>(rest, kGatheringTime.count());
  require(curl_multi_poll(multi_.get(), nullptr, 0, static_cast<int>(rest), nullptr));
}

void CurlTransfer::deliverGathered() {
  if (gathered_.empty()) return;
  throwIfStopped();
  receiver_.didReceiveData(gathered_);
  gathered_.clear();
  lastArrival_ = steady_clock::now();  // the time that the receiver took is not the server's
}

std::optional<CURLcode> CurlTransfer::resultIfEnded() {
  int remaining = 0;
  while (const CURLMsg* const message = curl_multi_info_read(multi_.get(), &remaining)) {
    if (message->msg == CURLMSG_DONE) return message->data.result;
  }
  return std::nullopt;
}

void CurlTransfer::throwIfStopped() const {
  if (stopToken_.stop_requested()) throw cancelledTransfer(request_.url);
}

void CurlTransfer::throwIfFailed(CURLcode result) {
  if (exchange_.failure) std::rethrow_exception(exchange_.failure);
  if (result == CURLE_OK || exchange_.didCutRedirectBody) return;
  // libcurl's way to refuse a header line that never ends.
  if (result == CURLE_OUT_OF_MEMORY && !exchange_.statusCode) {
    throw urlFailure(QuillonURLErrorCode::badServerResponse, request_.url, "its response has an endless header");
  }
  const long systemError = information<long>(easy_.get(), CURLINFO_OS_ERRNO, 0);
  throw curlFailure(result, systemError, request_.url, detail_.data());
}

/// A server that sends more than it announced has announced something wrong: what arrived is a part of what it meant.
/// Seen as far as it has arrived; in HTTP/2 it is an error of the protocol, which libcurl reports.
void CurlTransfer::throwIfMoreArrived() {
  if (exchange_.announcedBytes < 0 ||
      information<long>(easy_.get(), CURLINFO_HTTP_VERSION, 0) > CURL_HTTP_VERSION_1_1) {
    return;
  }
  bool more = exchange_.bodyBytesOnWire > exchange_.announcedBytes;
  if (!more && request_.url.scheme() == "http") {
    const auto connection = information<curl_socket_t>(easy_.get(), CURLINFO_ACTIVESOCKET, CURL_SOCKET_BAD);
    char byte = 0;
    more = connection != CURL_SOCKET_BAD && recv(connection, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 1;
  }
  if (more) {
    throw urlFailure(QuillonURLErrorCode::badServerResponse, request_.url,
                     "it sent more than the " + std::to_string(exchange_.announcedBytes) + " bytes that it announced");
  }
}

/// A body whose end is that of its connection is whole only if TLS says that the connection was meant to end (RFC 9112,
/// section 9.8): anybody on the way can end it. libcurl lets such an end pass, but traces the alert that says so.
void CurlTransfer::throwIfCutOff() {
  if (!exchange_.endsWithConnection || request_.url.scheme() != "https" || !isTLSTraced_ || exchange_.isClosed) return;
  if (information<long>(easy_.get(), CURLINFO_HTTP_VERSION, 0) > CURL_HTTP_VERSION_1_1) return;
  throw urlFailure(QuillonURLErrorCode::networkConnectionLost, request_.url,
                   "the connection was cut off in a body of unknown length");
}

void CurlTransfer::didReceiveHeaderLine(std::string_view line) {
  exchange_.headerBytes += line.size();
  if (exchange_.headerBytes > configuration_.maximumHeaderBytes) {
    throw urlFailure(
        QuillonURLErrorCode::badServerResponse, request_.url,
        "its response has a header of more than " + std::to_string(configuration_.maximumHeaderBytes) + " bytes");
  }
  if (isBlankLine(line) && !exchange_.statusCode) didReceiveHeader();  // a second one ends trailers
}

void CurlTransfer::didReceiveHeader() {
  const long status = information<long>(easy_.get(), CURLINFO_RESPONSE_CODE, 0);
  if (status < 200) return;
  exchange_.statusCode = static_cast<std::int32_t>(status);
  QuillonURLResponse response{
      .url = request_.url,
      .httpStatusCode = exchange_.statusCode,
      .headerFields = receivedHeaderFields(easy_.get()),
  };
  exchange_.announcedBytes = announcedBodyLength(response.headerFields);
  exchange_.endsWithConnection = exchange_.announcedBytes < 0 && hasBody(*exchange_.statusCode) &&
                                 !response.valueForHeaderField("Transfer-Encoding");
  response.expectedContentLength = expectedContentLength(response.headerFields);
  const auto location = response.valueForHeaderField("Location");
  if (isRedirectStatus(*exchange_.statusCode) && location) {
    exchange_.location = percentEncodingStrayCharacters(*location);
  } else {
    receiver_.didReceiveResponse(response);
  }
}

void CurlTransfer::didReceiveBody(std::string_view bytes) {
  throwIfStopped();
  if (!exchange_.location) {
    if (gathered_.size() + bytes.size() > kGatheredBytes) deliverGathered();
    if (gathered_.empty()) gatheredSince_ = steady_clock::now();
    gathered_.append(bytes);
    return;
  }
  exchange_.redirectBodyBytes += bytes.size();
  exchange_.didCutRedirectBody = exchange_.redirectBodyBytes > kMaximumRedirectBodyBytes;
}

template <typename Function>
bool CurlTransfer::callIn(Function function) noexcept {
  try {
    function();
  } catch (...) {
    exchange_.failure = std::current_exception();
    return false;
  }
  lastArrival_ = steady_clock::now();
  return true;
}

std::size_t CurlTransfer::headerCallback(char* bytes, std::size_t size, std::size_t count, void* self) noexcept {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  const std::size_t length = size * count;
  return transfer.callIn([&] { transfer.didReceiveHeaderLine({bytes, length}); }) ? length : CURL_WRITEFUNC_ERROR;
}

std::size_t CurlTransfer::bodyCallback(char* bytes, std::size_t size, std::size_t count, void* self) noexcept {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  const std::size_t length = size * count;
  const bool goesOn = transfer.callIn([&] { transfer.didReceiveBody({bytes, length}); });
  return goesOn && !transfer.exchange_.didCutRedirectBody ? length : CURL_WRITEFUNC_ERROR;
}

int CurlTransfer::traceCallback(CURL*, curl_infotype kind, char* bytes, std::size_t size, void* self) noexcept {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  if (kind == CURLINFO_DATA_IN) transfer.exchange_.bodyBytesOnWire += static_cast<std::int64_t>(size);
  if (kind == CURLINFO_SSL_DATA_IN) {
    transfer.isTLSTraced_ = true;
    if (std::string_view(bytes, size) == kCloseNotify) transfer.exchange_.isClosed = true;
  }
  return 0;
}

}  // namespace quillon
