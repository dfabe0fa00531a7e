#pragma once

#include <memory>
#include <stop_token>

#include "QuillonCore/Network/QuillonURLTransferring.h"

namespace quillon {

/// One transfer that any thread can cancel, before, during and after it.
class QuillonURLDataTask {
 public:
  /// `transfers` is not null.
  QuillonURLDataTask(std::shared_ptr<const QuillonURLTransferring> transfers, QuillonURLRequest request);

  /// Runs the transfer; returns when it is over. Once only. Throws what the transfer throws.
  void resume(QuillonURLTransferReceiving& receiver);
  /// The transfer ends with the error `cancelled`, or does not begin, unless it is over.
  void cancel() noexcept;

 private:
  const std::shared_ptr<const QuillonURLTransferring> transfers_;
  const QuillonURLRequest request_;
  std::stop_source stopSource_;
};

}  // namespace quillon
