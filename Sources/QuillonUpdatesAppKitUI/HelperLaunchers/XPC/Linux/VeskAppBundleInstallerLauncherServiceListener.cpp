#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleInstallerLauncherServiceListener.h"

#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <string>
#include <utility>
#include <variant>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleReplacementLaunchResult.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusChannel.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusPeer.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"

namespace quillon {
namespace {

using Dictionary = QuillonPropertyListValue::Dictionary;

class ProgressSender final : public VeskAppBundleInstallerLauncherProgressXPCProtocol {
 public:
  explicit ProgressSender(std::shared_ptr<LauncherBusChannel> channel) noexcept : channel_(std::move(channel)) {}

  void reportProgress(const Dictionary& progress) override { channel_->reportProgress(progress); }

 private:
  const std::shared_ptr<LauncherBusChannel> channel_;
};

/// The reply to a request that the service did not take or did not answer.
Dictionary failure(std::string description) {
  return xpcDictionary(VeskAppBundleReplacementLaunchResult::protocolFailure(
                           {.phase = VeskAppBundleInstallerLaunchPhase::xpcConnection,
                            .errorDomain = std::string(kInstallerLauncherServiceConnectionDomain),
                            .errorCode = std::nullopt,
                            .errorDescription = std::move(description)}),
                       {});
}

}  // namespace

/// How many requests have no answer.
class VeskAppBundleInstallerLauncherServiceListener::OutstandingLaunches {
 public:
  void add() {
    const std::lock_guard guard(lock_);
    ++count_;
  }
  void remove() {
    const std::lock_guard guard(lock_);
    if (--count_ == 0) none_.notify_all();
  }
  [[nodiscard]] std::size_t count() const {
    const std::lock_guard guard(lock_);
    return count_;
  }
  void waitForNone() {
    std::unique_lock guard(lock_);
    none_.wait(guard, [this] { return count_ == 0; });
  }

 private:
  mutable std::mutex lock_;
  std::condition_variable none_;
  std::size_t count_ = 0;  // guarded by lock_
};

/// The answer to one request: given once, at the latest when nobody holds it any more.
class VeskAppBundleInstallerLauncherServiceListener::OneReply {
 public:
  OneReply(std::shared_ptr<LauncherBusChannel> channel, std::uint64_t call,
           std::shared_ptr<OutstandingLaunches> launches)
      : channel_(std::move(channel)), call_(call), launches_(std::move(launches)) {
    launches_->add();
  }
  ~OneReply() {
    if (isGiven_.test()) return;
    try {
      give(failure("The launcher service did not answer."));
    } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): without memory the host hears nothing
    }
  }
  OneReply(const OneReply&) = delete;
  OneReply& operator=(const OneReply&) = delete;

  void give(const Dictionary& reply) {
    if (isGiven_.test_and_set()) return;
    channel_->reply(call_, reply);
    launches_->remove();
  }

 private:
  const std::shared_ptr<LauncherBusChannel> channel_;
  const std::uint64_t call_;
  const std::shared_ptr<OutstandingLaunches> launches_;
  std::atomic_flag isGiven_;
};

VeskAppBundleInstallerLauncherServiceListener::VeskAppBundleInstallerLauncherServiceListener(FileDescriptor socket)
    : hostProcessIdentifier_(launcherBusPeer(socket.get(), getuid())),
      channel_(std::make_shared<LauncherBusChannel>(std::move(socket), LauncherBusEnd::service)),
      progressSender_(std::make_shared<ProgressSender>(channel_)),
      launches_(std::make_shared<OutstandingLaunches>()) {}

VeskAppBundleInstallerLauncherServiceListener::~VeskAppBundleInstallerLauncherServiceListener() {
  channel_->close();
}

void VeskAppBundleInstallerLauncherServiceListener::run(VeskAppBundleInstallerLauncherXPCProtocol& service) {
  while (const auto message = channel_->next()) {
    if (const auto* const call = std::get_if<LauncherBusCall>(&*message)) {
      serve(service, call->identifier, call->message);
    }
  }
  launches_->waitForNone();
}

void VeskAppBundleInstallerLauncherServiceListener::serve(VeskAppBundleInstallerLauncherXPCProtocol& service,
                                                          std::uint64_t call, const Dictionary& message) const {
  if (launches_->count() >= kLargestInstallerLaunchCount) {
    channel_->reply(call, failure("Too many launches are under way on this connection."));
    return;
  }
  const auto reply = std::make_shared<OneReply>(channel_, call, launches_);
  try {
    service.launchReplacement(message, [reply](const Dictionary& answer) { reply->give(answer); });
  } catch (const std::exception& error) {
    reply->give(failure(error.what()));
  }
}

}  // namespace quillon
