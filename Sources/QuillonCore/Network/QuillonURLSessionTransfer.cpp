#include "QuillonCore/Network/QuillonURLSessionTransfer.h"

#include <limits>
#include <utility>

#include "QuillonCore/Network/QuillonURLFailure.h"
#include "QuillonCore/Network/QuillonURLRedirect.h"

namespace quillon {
namespace {

/// `NSURLErrorDomain`.
constexpr std::string_view kURLErrorDomain = "NSURLErrorDomain";

QuillonURLErrorCode codeOf(std::string_view domain, std::int64_t code) noexcept {
  using Limits = std::numeric_limits<std::int32_t>;
  if (domain != kURLErrorDomain || code < Limits::min() || code > Limits::max()) return QuillonURLErrorCode::unknown;
  return static_cast<QuillonURLErrorCode>(code);
}

}  // namespace

QuillonURLSessionTransfer::QuillonURLSessionTransfer(QuillonURLRequest request, QuillonURLTransferReceiving& receiver)
    : request_(std::move(request)), receiver_(receiver) {}

bool QuillonURLSessionTransfer::didReceiveResponse(const QuillonURLResponse& response) noexcept {
  return deliver([&] { receiver_.didReceiveResponse(response); });
}

bool QuillonURLSessionTransfer::didReceiveData(std::string_view bytes) noexcept {
  return deliver([&] { receiver_.didReceiveData(bytes); });
}

std::optional<QuillonURLRequest> QuillonURLSessionTransfer::requestAfterRedirect(
    const std::optional<QuillonURL>& location) noexcept {
  std::optional<QuillonURLRequest> following;
  const bool goesOn = deliver([&] {
    request_ = requestFollowingRedirect(request_, location ? location->absoluteString() : std::string());
    following = request_;
  });
  return goesOn ? std::move(following) : std::nullopt;
}

void QuillonURLSessionTransfer::didRefuseRedirect() noexcept {
  (void)deliver(
      [&] { throw urlFailure(QuillonURLErrorCode::badURL, request_.url, "the system does not take the request"); });
}

void QuillonURLSessionTransfer::didFinish() noexcept {
  end(nullptr);
}

void QuillonURLSessionTransfer::didFail(std::string_view domain, std::int64_t code,
                                        std::string_view description) noexcept {
  try {
    end(std::make_exception_ptr(urlFailure(codeOf(domain, code), request_.url, description)));
  } catch (...) {  // no memory for the text
    end(std::current_exception());
  }
}

void QuillonURLSessionTransfer::wait() {
  std::unique_lock guard(lock_);
  ended_.wait(guard, [this] { return didEnd_; });
  if (receiverError_) std::rethrow_exception(receiverError_);
  if (error_) std::rethrow_exception(error_);
}

/// What a receiver refuses, it is not offered again.
template <typename Function>
bool QuillonURLSessionTransfer::deliver(const Function& function) noexcept {
  if (receiverError_) return false;
  try {
    function();
    return true;
  } catch (...) {
    receiverError_ = std::current_exception();
    return false;
  }
}

void QuillonURLSessionTransfer::end(std::exception_ptr error) noexcept {
  const std::lock_guard guard(lock_);
  if (std::exchange(didEnd_, true)) return;
  error_ = std::move(error);
  ended_.notify_all();
}

}  // namespace quillon
