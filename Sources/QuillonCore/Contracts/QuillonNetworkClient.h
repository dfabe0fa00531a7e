#pragma once

#include <stop_token>
#include <string>

#include "QuillonCore/Values/QuillonURLRequest.h"
#include "QuillonCore/Values/QuillonURLResponse.h"

namespace quillon {

/// A response and the whole of its body.
struct QuillonURLData {
  std::string body;
  QuillonURLResponse response;
};

/// Loads small things such as update feeds.
///
/// Implementations hold no mutable state and may be called from any thread.
class QuillonNetworkClient {
 public:
  virtual ~QuillonNetworkClient() = default;

  /// Returns when the whole body has arrived, whatever the status code. Blocks, so never on the main thread. Throws the
  /// QuillonURLError of the transport; its code is `cancelled` after a stop was requested.
  [[nodiscard]] virtual QuillonURLData data(const QuillonURLRequest& request, std::stop_token stopToken = {}) const = 0;
};

}  // namespace quillon
