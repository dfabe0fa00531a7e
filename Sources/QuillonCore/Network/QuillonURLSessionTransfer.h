#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <optional>
#include <string_view>

#include "QuillonCore/Network/QuillonURLTransferring.h"

namespace quillon {

/// One transfer of a URL session of the platform, between the session, which tells of it on a queue of its own, and the
/// thread that waits for its end.
///
/// The functions of the first group are called by the session, one at a time; an exception cannot pass through it, so
/// what a receiver throws is kept for the thread that waits. The session's first end counts.
class QuillonURLSessionTransfer {
 public:
  /// `receiver` is used until wait() returns.
  QuillonURLSessionTransfer(QuillonURLRequest request, QuillonURLTransferReceiving& receiver);

  /// False when the transfer is to be cancelled.
  [[nodiscard]] bool didReceiveResponse(const QuillonURLResponse& response) noexcept;
  /// False when the transfer is to be cancelled.
  [[nodiscard]] bool didReceiveData(std::string_view bytes) noexcept;
  /// What the session asks after a redirect to `location`, which is absent when it is no URL: the fields with
  /// credentials go only to the origin that they were meant for. Absent when the transfer is to be cancelled.
  [[nodiscard]] std::optional<QuillonURLRequest> requestAfterRedirect(
      const std::optional<QuillonURL>& location) noexcept;
  /// The session cannot ask what requestAfterRedirect() answered; the transfer is to be cancelled.
  void didRefuseRedirect() noexcept;
  /// Everything has arrived.
  void didFinish() noexcept;
  /// The platform's error: its domain, code and text.
  void didFail(std::string_view domain, std::int64_t code, std::string_view description) noexcept;

  /// Returns when everything has arrived. Throws what the receiver threw, else QuillonURLError for what ended the
  /// transfer; a code of the domain of URL errors is handed on as it is.
  void wait();

 private:
  template <typename Function>
  [[nodiscard]] bool deliver(const Function& function) noexcept;
  void end(std::exception_ptr error) noexcept;

  QuillonURLRequest request_;              // the session's
  QuillonURLTransferReceiving& receiver_;  // the session's
  std::exception_ptr receiverError_;       // the session's until didEnd_
  std::mutex lock_;
  std::condition_variable ended_;
  std::exception_ptr error_;  // guarded by lock_
  bool didEnd_ = false;       // guarded by lock_
};

}  // namespace quillon
