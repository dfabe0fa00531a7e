#include "QuillonCore/Network/QuillonURLDataTask.h"

#include <utility>

namespace quillon {

QuillonURLDataTask::QuillonURLDataTask(std::shared_ptr<const QuillonURLTransferring> transfers,
                                       QuillonURLRequest request)
    : transfers_(std::move(transfers)), request_(std::move(request)) {}

void QuillonURLDataTask::resume(QuillonURLTransferReceiving& receiver) {
  transfers_->transfer(request_, receiver, stopSource_.get_token());
}

void QuillonURLDataTask::cancel() noexcept {
  (void)stopSource_.request_stop();  // false: somebody else was first
}

}  // namespace quillon
