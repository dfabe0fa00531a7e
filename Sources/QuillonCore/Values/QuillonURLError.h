#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

/// Why a location could not be loaded. The numbers are those of `NSURLError.h`.
enum class QuillonURLErrorCode : std::int32_t {
  unknown = -1,
  cancelled = -999,
  badURL = -1000,
  timedOut = -1001,
  unsupportedURL = -1002,
  cannotFindHost = -1003,
  cannotConnectToHost = -1004,
  networkConnectionLost = -1005,
  httpTooManyRedirects = -1007,
  notConnectedToInternet = -1009,
  redirectToNonExistentLocation = -1010,
  badServerResponse = -1011,
  cannotDecodeContentData = -1016,
  fileDoesNotExist = -1100,
  fileIsDirectory = -1101,
  noPermissionsToReadFile = -1102,
  dataLengthExceedsMaximum = -1103,
  secureConnectionFailed = -1200,
  serverCertificateUntrusted = -1202,
  cannotWriteToFile = -3003,
};

/// A failed transfer. `description()` says what was asked of whom and what the transport met; it holds no credentials.
class QuillonURLError : public QuillonError {
 public:
  QuillonURLError(QuillonURLErrorCode code, std::string description)
      : QuillonError(std::move(description)), code_(code) {}

  [[nodiscard]] QuillonURLErrorCode code() const noexcept { return code_; }

 private:
  QuillonURLErrorCode code_;
};

}  // namespace quillon
