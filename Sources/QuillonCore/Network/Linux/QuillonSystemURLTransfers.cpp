#include "QuillonCore/Network/QuillonSystemURLTransfers.h"

#include <utility>

#include "QuillonCore/Network/Linux/CurlTransfer.h"
#include "QuillonCore/Network/Posix/FileURLTransfer.h"
#include "QuillonCore/Network/QuillonLoadableRequest.h"
#include "QuillonCore/Network/QuillonURLFailure.h"

namespace quillon {
namespace {

class SystemURLTransfers final : public QuillonURLTransferring {
 public:
  explicit SystemURLTransfers(QuillonURLTransferConfiguration configuration)
      : configuration_(std::move(configuration)) {}

  void transfer(const QuillonURLRequest& request, QuillonURLTransferReceiving& receiver,
                std::stop_token stopToken) const override {
    if (stopToken.stop_requested()) throw cancelledTransfer(request.url);
    requireLoadable(request);
    if (request.url.isFileURL()) {
      transferFile(request.url, receiver, stopToken);
      return;
    }
    CurlTransfer(configuration_, receiver, stopToken).run(request);
  }

 private:
  const QuillonURLTransferConfiguration configuration_;
};

}  // namespace

std::shared_ptr<const QuillonURLTransferring> makeSystemURLTransfers(QuillonURLTransferConfiguration configuration) {
  return std::make_shared<SystemURLTransfers>(std::move(configuration));
}

std::shared_ptr<const QuillonURLTransferring> makeSharedURLTransfers() {
  return makeSystemURLTransfers();
}

}  // namespace quillon
