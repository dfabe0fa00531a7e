#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Network/QuillonURLTransferring.h"

namespace quillon::testing {

/// Keeps what a transfer brings.
class RecordingURLReceiver final : public QuillonURLTransferReceiving {
 public:
  void didReceiveResponse(const QuillonURLResponse& received) override {
    response = received;
    ++responseCount;
    if (onResponse) onResponse();
  }
  void didReceiveData(std::string_view bytes) override {
    body.append(bytes);
    ++pieces;
    if (onData) onData();
  }

  std::optional<QuillonURLResponse> response;
  int responseCount = 0;
  std::string body;
  int pieces = 0;
  /// Called when something has arrived; may be empty.
  std::function<void()> onResponse;
  std::function<void()> onData;
};

}  // namespace quillon::testing
