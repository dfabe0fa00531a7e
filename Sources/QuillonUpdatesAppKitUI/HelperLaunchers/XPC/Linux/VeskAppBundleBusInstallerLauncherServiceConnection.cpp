#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleBusInstallerLauncherServiceConnection.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <map>
#include <mutex>
#include <utility>
#include <variant>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusChannel.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusDictionary.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherProgressReceiver.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"

namespace quillon {

using Dictionary = QuillonPropertyListValue::Dictionary;
using ErrorHandler = VeskAppBundleInstallerLauncherServiceConnectionMaking::ErrorHandler;

/// What the connection and its thread share.
class VeskAppBundleBusInstallerLauncherServiceConnection::Conversation {
 public:
  Conversation(FileDescriptor socket, ErrorHandler errorHandler,
               VeskAppBundleInstallerLaunchProgressHandler progressHandler)
      : channel_(std::move(socket), LauncherBusEnd::host),
        errorHandler_(std::move(errorHandler)),
        progressReceiver_(std::move(progressHandler)) {}

  [[nodiscard]] bool launch(const Dictionary& message, const std::function<void()>& didSubmitRequest, Reply reply) {
    // Nothing that the service answers is taken up before the request is known here and to the caller.
    const LauncherBusChannel::Hold hold(channel_);
    const auto identifier = channel_.call(message);
    if (identifier && keep(*identifier, std::move(reply))) {
      didSubmitRequest();
      return true;
    }
    return fitsLauncherBus(message) && didFail();
  }

  void invalidate() noexcept { (void)end(State::invalidated); }

  /// Receives until the conversation ends.
  void serve() {
    while (const auto message = channel_.next()) {
      if (const auto* const reply = std::get_if<LauncherBusReply>(&*message)) deliver(*reply);
      if (const auto* const progress = std::get_if<LauncherBusProgress>(&*message)) deliver(*progress);
    }
    fail(channel_.ending() == LauncherBusEnding::otherEndGone ? installerLauncherServiceConnectionInterrupted()
                                                              : installerLauncherServiceConnectionInvalidated());
  }

  /// Reports the end, unless it has been reported or the connection invalidated.
  void fail(const QuillonSystemError& error) {
    if (end(State::failed)) errorHandler_(error);
  }

 private:
  /// In the order in which one follows the other.
  enum class State : std::uint8_t { open, failed, invalidated };

  /// Whether the conversation was open until this.
  bool end(State state) noexcept {
    // Destroyed last: what the callbacks hold may be the connection's last owner.
    std::map<std::uint64_t, Reply> dropped;
    bool wasOpen = false;
    {
      const std::lock_guard guard(lock_);
      wasOpen = state_ == State::open;
      state_ = std::max(state_, state);
      dropped.swap(replies_);
    }
    channel_.close();
    return wasOpen;
  }

  /// Keeps the reply's callback. False when the connection has ended meanwhile.
  bool keep(std::uint64_t identifier, Reply reply) {
    const std::lock_guard guard(lock_);
    if (state_ != State::open) return false;
    replies_.emplace(identifier, std::move(reply));
    return true;
  }

  /// Whether there is an error that the error handler has heard of or is going to.
  [[nodiscard]] bool didFail() {
    const bool isGoingToFail = channel_.didEndByItself();
    const std::lock_guard guard(lock_);
    return state_ == State::failed || (state_ == State::open && isGoingToFail);
  }

  void deliver(const LauncherBusReply& message) {
    decltype(replies_)::node_type reply;
    {
      const std::lock_guard guard(lock_);
      // A second reply, or one to nothing, finds none here; nor does one after the end.
      reply = replies_.extract(message.identifier);
    }
    if (reply) reply.mapped()(replacementLaunchResult(message.reply));
  }

  void deliver(const LauncherBusProgress& message) { progressReceiver_.reportProgress(message.progress); }

  LauncherBusChannel channel_;
  const ErrorHandler errorHandler_;
  VeskAppBundleInstallerLauncherProgressReceiver progressReceiver_;
  std::mutex lock_;
  std::map<std::uint64_t, Reply> replies_;  // of requests without reply; guarded by lock_
  State state_ = State::open;               // guarded by lock_
};

VeskAppBundleBusInstallerLauncherServiceConnection::VeskAppBundleBusInstallerLauncherServiceConnection(
    FileDescriptor socket, ErrorHandler errorHandler, VeskAppBundleInstallerLaunchProgressHandler progressHandler)
    : conversation_(
          std::make_shared<Conversation>(std::move(socket), std::move(errorHandler), std::move(progressHandler))) {}

VeskAppBundleBusInstallerLauncherServiceConnection::~VeskAppBundleBusInstallerLauncherServiceConnection() {
  conversation_->invalidate();
}

void VeskAppBundleBusInstallerLauncherServiceConnection::resume() noexcept {
  // A callback may let this connection's last owner go.
  const auto conversation = conversation_;
  try {
    thread_ = std::make_unique<QuillonBackgroundThread>([conversation] { conversation->serve(); });
  } catch (const std::exception&) {
    // Without a thread nothing will ever arrive.
    conversation->fail(installerLauncherServiceConnectionInvalidated());
  }
}

bool VeskAppBundleBusInstallerLauncherServiceConnection::launchReplacement(
    const Dictionary& message, const std::function<void()>& didSubmitRequest, Reply reply) noexcept {
  // A callback may let this connection's last owner go.
  const auto conversation = conversation_;
  return conversation->launch(message, didSubmitRequest, std::move(reply));
}

void VeskAppBundleBusInstallerLauncherServiceConnection::invalidate() noexcept {
  // What the dropped callbacks hold may be this connection's last owner.
  const auto conversation = conversation_;
  conversation->invalidate();
}

}  // namespace quillon
