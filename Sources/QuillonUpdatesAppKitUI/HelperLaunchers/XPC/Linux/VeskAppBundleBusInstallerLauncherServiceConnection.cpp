#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleBusInstallerLauncherServiceConnection.h"

#include <cstdint>
#include <exception>
#include <map>
#include <mutex>
#include <utility>
#include <variant>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusChannel.h"
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
    if (!identifier || !keep(*identifier, std::move(reply))) return false;
    didSubmitRequest();
    return true;
  }

  void invalidate() noexcept {
    std::map<std::uint64_t, Reply> dropped;
    {
      const std::lock_guard guard(lock_);
      didEnd_ = true;
      dropped.swap(replies_);
    }
    channel_.close();
  }

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
    if (didEnd()) return;
    invalidate();
    errorHandler_(error);
  }

 private:
  /// Keeps the reply's callback. False when the connection has ended meanwhile.
  bool keep(std::uint64_t identifier, Reply reply) {
    const std::lock_guard guard(lock_);
    if (!didEnd_) replies_.emplace(identifier, std::move(reply));
    return !didEnd_;
  }

  [[nodiscard]] bool didEnd() {
    const std::lock_guard guard(lock_);
    return didEnd_;
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

  void deliver(const LauncherBusProgress& message) {
    if (!didEnd()) progressReceiver_.reportProgress(message.progress);
  }

  LauncherBusChannel channel_;
  const ErrorHandler errorHandler_;
  VeskAppBundleInstallerLauncherProgressReceiver progressReceiver_;
  std::mutex lock_;
  std::map<std::uint64_t, Reply> replies_;  // of requests without reply; guarded by lock_
  bool didEnd_ = false;                     // guarded by lock_
};

VeskAppBundleBusInstallerLauncherServiceConnection::VeskAppBundleBusInstallerLauncherServiceConnection(
    FileDescriptor socket, ErrorHandler errorHandler, VeskAppBundleInstallerLaunchProgressHandler progressHandler)
    : conversation_(
          std::make_shared<Conversation>(std::move(socket), std::move(errorHandler), std::move(progressHandler))) {}

VeskAppBundleBusInstallerLauncherServiceConnection::~VeskAppBundleBusInstallerLauncherServiceConnection() {
  conversation_->invalidate();
}

void VeskAppBundleBusInstallerLauncherServiceConnection::resume() noexcept {
  try {
    thread_ = std::make_unique<QuillonBackgroundThread>([conversation = conversation_] { conversation->serve(); });
  } catch (const std::exception&) {
    // Without a thread nothing will ever arrive.
    conversation_->fail(installerLauncherServiceConnectionInvalidated());
  }
}

bool VeskAppBundleBusInstallerLauncherServiceConnection::launchReplacement(
    const Dictionary& message, const std::function<void()>& didSubmitRequest, Reply reply) noexcept {
  return conversation_->launch(message, didSubmitRequest, std::move(reply));
}

void VeskAppBundleBusInstallerLauncherServiceConnection::invalidate() noexcept {
  conversation_->invalidate();
}

}  // namespace quillon
