#pragma once

#include <curl/curl.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

#include "QuillonCore/Network/Linux/CurlHandles.h"
#include "QuillonCore/Network/QuillonURLTransferConfiguration.h"
#include "QuillonCore/Network/QuillonURLTransferring.h"

namespace quillon {

/// One transfer over HTTP with all the redirects that it takes, through libcurl's multi interface.
///
/// Everything happens on the thread that calls run(); a stop wakes it wherever it waits. A name that is being looked up
/// then is left to libcurl's thread, which ends when the system's resolver answers.
class CurlTransfer {
 public:
  /// What is passed here is used until run() has returned.
  CurlTransfer(const QuillonURLTransferConfiguration& configuration, QuillonURLTransferReceiving& receiver,
               const std::stop_token& stopToken);
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  /// Once only. Throws as QuillonURLTransferring::transfer does.
  void run(QuillonURLRequest request);

 private:
  /// What is known of the exchange with one location.
  struct Exchange {
    std::optional<std::int32_t> statusCode = std::nullopt;  // of a response that is complete and not interim
    std::int64_t announcedBytes = -1;
    std::int64_t bodyBytesOnWire = 0;
    std::size_t headerBytes = 0;
    std::size_t redirectBodyBytes = 0;
    std::optional<std::string> location = std::nullopt;  // where a redirect leads, as it was sent
    bool didCutRedirectBody = false;
    bool endsWithConnection = false;       // nothing else says where the body ends
    bool isClosed = false;                 // the server has said by TLS that it said everything
    std::exception_ptr failure = nullptr;  // thrown while libcurl called
  };

  void setUp();
  void prepare(const QuillonURLRequest& request);
  void exchange();
  [[nodiscard]] CURLcode waitForEnd();
  void waitForMore();
  [[nodiscard]] std::optional<CURLcode> resultIfEnded();
  void throwIfStopped() const;
  void throwIfFailed(CURLcode result);
  void throwIfMoreArrived();
  void throwIfCutOff();

  void didReceiveHeaderLine(std::string_view line);
  void didReceiveHeader();
  void didReceiveBody(std::string_view bytes);
  /// Hands on what has arrived since the last time.
  void deliverGathered();
  /// Runs `function` for libcurl, which no exception may cross; false after one.
  template <typename Function>
  bool callIn(Function function) noexcept;

  static std::size_t headerCallback(char* bytes, std::size_t size, std::size_t count, void* self) noexcept;
  static std::size_t bodyCallback(char* bytes, std::size_t size, std::size_t count, void* self) noexcept;
  static int traceCallback(CURL* easy, curl_infotype kind, char* bytes, std::size_t size, void* self) noexcept;

  const QuillonURLTransferConfiguration& configuration_;
  QuillonURLTransferReceiving& receiver_;
  const std::stop_token& stopToken_;
  QuillonURLRequest request_{.url = QuillonURL::fileURL("/")};
  CurlTextList headerFields_;
  std::array<char, CURL_ERROR_SIZE> detail_{};
  std::chrono::steady_clock::time_point lastArrival_;
  Exchange exchange_;
  bool isTLSTraced_ = false;  // as libcurl with OpenSSL does
  std::string gathered_;
  std::chrono::steady_clock::time_point gatheredSince_;
  CurlMultiHandle multi_;
  CurlEasyHandle easy_;  // goes before the multi handle
};

}  // namespace quillon
