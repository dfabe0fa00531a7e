#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCConversation.h"

#include <algorithm>
#include <utility>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"

namespace quillon {

/// The right to run a callback, while it lives; none on a conversation that is over.
class VeskAppBundleXPCConversation::Turn {
 public:
  explicit Turn(VeskAppBundleXPCConversation& conversation) noexcept
      : conversation_(conversation), isGranted_(conversation.beginTurn()) {}
  ~Turn() {
    if (isGranted_) conversation_.endTurn();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  [[nodiscard]] explicit operator bool() const noexcept { return isGranted_; }

 private:
  VeskAppBundleXPCConversation& conversation_;
  const bool isGranted_;
};

VeskAppBundleXPCConversation::VeskAppBundleXPCConversation(ErrorHandler errorHandler,
                                                           VeskAppBundleInstallerLaunchProgressHandler progressHandler)
    : errorHandler_(std::move(errorHandler)), progressReceiver_(std::move(progressHandler)) {}

bool VeskAppBundleXPCConversation::launch(const std::function<bool(Request)>& send,
                                          const std::function<void()>& didSubmitRequest, Reply reply) {
  {
    const std::lock_guard guard(lock_);
    if (state_ != State::open) return state_ == State::failed;
    sendingThreads_.push_back(std::this_thread::get_id());
  }
  const bool wasSent = sendWhileOpen(send, didSubmitRequest, std::move(reply));
  {
    const std::lock_guard guard(lock_);
    sendingThreads_.erase(std::ranges::find(sendingThreads_, std::this_thread::get_id()));
  }
  changed_.notify_all();
  deliverKeptError();
  return wasSent;
}

bool VeskAppBundleXPCConversation::sendWhileOpen(const std::function<bool(Request)>& send,
                                                 const std::function<void()>& didSubmitRequest, Reply reply) {
  Request request = 0;
  {
    const std::lock_guard guard(lock_);
    request = ++lastRequest_;
    replies_.emplace(request, std::move(reply));
  }
  if (!send(request)) {
    decltype(replies_)::node_type dropped;
    const std::lock_guard guard(lock_);
    dropped = replies_.extract(request);
    return false;
  }
  {
    const std::lock_guard guard(lock_);
    if (state_ != State::open) return false;
    if (keptError_) return true;
  }
  didSubmitRequest();
  return true;
}

void VeskAppBundleXPCConversation::invalidate() noexcept {
  // Destroyed last: what the callbacks hold may be the connection's last owner.
  std::map<Request, Reply> dropped;
  {
    const std::lock_guard guard(lock_);
    state_ = State::invalidated;
    dropped.swap(replies_);
  }
  changed_.notify_all();
}

void VeskAppBundleXPCConversation::waitForCallback() noexcept {
  std::unique_lock guard(lock_);
  changed_.wait(
      guard, [this] { return callbackThread_ == std::thread::id() || callbackThread_ == std::this_thread::get_id(); });
}

void VeskAppBundleXPCConversation::didReply(Request request, const Dictionary& reply) noexcept {
  const Turn turn(*this);
  if (!turn) return;
  decltype(replies_)::node_type callback;
  {
    const std::lock_guard guard(lock_);
    callback = replies_.extract(request);
  }
  if (callback) callback.mapped()(replacementLaunchResult(reply));
}

void VeskAppBundleXPCConversation::didProgress(const Dictionary& progress) noexcept {
  const Turn turn(*this);
  if (turn) progressReceiver_.reportProgress(progress);
}

void VeskAppBundleXPCConversation::didFail(const QuillonSystemError& error) noexcept {
  if (keepWhileBusyHere(error)) return;
  const Turn turn(*this);
  if (!turn) return;
  std::map<Request, Reply> dropped;
  {
    const std::lock_guard guard(lock_);
    state_ = std::max(state_, State::failed);
    dropped.swap(replies_);
  }
  errorHandler_(error);
}

bool VeskAppBundleXPCConversation::beginTurn() noexcept {
  std::unique_lock guard(lock_);
  changed_.wait(guard, [this] {
    return state_ != State::open || (sendingThreads_.empty() && callbackThread_ == std::thread::id());
  });
  if (state_ != State::open) return false;
  callbackThread_ = std::this_thread::get_id();
  return true;
}

void VeskAppBundleXPCConversation::endTurn() noexcept {
  {
    const std::lock_guard guard(lock_);
    callbackThread_ = {};
  }
  changed_.notify_all();
  deliverKeptError();
}

bool VeskAppBundleXPCConversation::keepWhileBusyHere(const QuillonSystemError& error) noexcept {
  const std::lock_guard guard(lock_);
  if (!isBusyHere()) return false;
  if (!keptError_) keptError_ = error;
  return true;
}

void VeskAppBundleXPCConversation::deliverKeptError() noexcept {
  std::optional<QuillonSystemError> error;
  {
    const std::lock_guard guard(lock_);
    if (isBusyHere()) return;
    error.swap(keptError_);
  }
  if (error) didFail(*error);
}

bool VeskAppBundleXPCConversation::isBusyHere() const noexcept {
  const auto here = std::this_thread::get_id();
  return callbackThread_ == here || std::ranges::count(sendingThreads_, here) > 0;
}

}  // namespace quillon
