#include "QuillonCore/Network/QuillonURLSessionNetworkClient.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "QuillonCore/Network/QuillonURLFailure.h"

namespace quillon {
namespace {

/// Gathers a body up to a limit.
class BodyReceiver final : public QuillonURLTransferReceiving {
 public:
  BodyReceiver(const QuillonURL& url, std::size_t limit) : url_(url), limit_(limit) {}

  void didReceiveResponse(const QuillonURLResponse& received) override {
    if (received.expectedContentLength > 0) {
      const auto announced = static_cast<std::uint64_t>(received.expectedContentLength);
      if (announced > limit_) fail();
      body.reserve(static_cast<std::size_t>(announced));
    }
    response = received;
  }

  void didReceiveData(std::string_view bytes) override {
    if (bytes.size() > limit_ - body.size()) fail();
    body.append(bytes);
  }

  std::optional<QuillonURLResponse> response;
  std::string body;

 private:
  [[noreturn]] void fail() const {
    throw urlFailure(QuillonURLErrorCode::dataLengthExceedsMaximum, url_,
                     "it has more than " + std::to_string(limit_) + " bytes");
  }

  const QuillonURL& url_;
  const std::size_t limit_;
};

}  // namespace

QuillonURLSessionNetworkClient::QuillonURLSessionNetworkClient(std::shared_ptr<const QuillonURLTransferring> transfers,
                                                               std::size_t maximumBodyBytes)
    : transfers_(std::move(transfers)), maximumBodyBytes_(maximumBodyBytes) {}

QuillonURLData QuillonURLSessionNetworkClient::data(const QuillonURLRequest& request, std::stop_token stopToken) const {
  BodyReceiver receiver(request.url, maximumBodyBytes_);
  transfers_->transfer(request, receiver, std::move(stopToken));
  if (!receiver.response) {
    throw urlFailure(QuillonURLErrorCode::badServerResponse, request.url, "it ended without a response");
  }
  return {.body = std::move(receiver.body), .response = *std::move(receiver.response)};
}

}  // namespace quillon
