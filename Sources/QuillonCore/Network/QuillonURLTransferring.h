#pragma once

#include <stop_token>
#include <string_view>

#include "QuillonCore/Values/QuillonURLRequest.h"
#include "QuillonCore/Values/QuillonURLResponse.h"

namespace quillon {

/// Hears what arrives: the response once, then its body in pieces. Called while the transfer runs, one call at a time,
/// on its thread or on one of the platform's. What it throws ends the transfer and is thrown by it.
class QuillonURLTransferReceiving {
 public:
  virtual ~QuillonURLTransferReceiving() = default;

  /// The final response: none of an interim one (1xx) and none of a redirect that is followed.
  virtual void didReceiveResponse(const QuillonURLResponse& response) = 0;
  /// The next bytes of the body, content encoding undone. Valid during the call.
  virtual void didReceiveData(std::string_view bytes) = 0;
};

/// Loads locations.
///
/// Implementations hold no mutable state and may be called from any thread.
class QuillonURLTransferring {
 public:
  virtual ~QuillonURLTransferring() = default;

  /// Returns when everything has arrived, whatever the status code; `receiver` may have heard of no response then, if
  /// the other end closed without one. Throws QuillonURLError, `cancelled` promptly after a stop was requested.
  virtual void transfer(const QuillonURLRequest& request, QuillonURLTransferReceiving& receiver,
                        std::stop_token stopToken) const = 0;
};

}  // namespace quillon
