#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCUpdateHelperLauncher.h"

#include <future>
#include <utility>
#include <variant>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchSession.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchWatchdog.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessage.h"

namespace quillon {
namespace {

using Phase = VeskAppBundleInstallerLaunchPhase;
using Progress = VeskAppBundleInstallerLaunchProgress;
using Result = VeskAppBundleReplacementLaunchResult;

Result connectionFailure(const QuillonSystemError& error) {
  return Result::protocolFailure({.phase = Phase::xpcConnection,
                                  .errorDomain = error.domain(),
                                  .errorCode = error.code(),
                                  .errorDescription = error.description()});
}

/// One launch: its session and its watchdog, joined. Its callbacks hold it until the session has completed.
class Launch : public std::enable_shared_from_this<Launch> {
 public:
  Launch(std::uint64_t preAuthorizationTimeoutNanoseconds, std::uint64_t postAuthorizationTimeoutNanoseconds,
         const std::shared_ptr<QuillonTimerScheduling>& timers)
      : watchdog_(std::make_shared<VeskAppBundleXPCLaunchWatchdog>(preAuthorizationTimeoutNanoseconds,
                                                                   postAuthorizationTimeoutNanoseconds, timers)),
        session_([this](const Result& result) {
          // A timer that nobody waits for any more would only keep this launch in memory.
          watchdog_->cancel();
          outcome_.set_value(result);
        }) {}

  [[nodiscard]] Result outcome() { return outcome_.get_future().get(); }

  void setConnection(std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection> connection) {
    session_.setConnection(std::move(connection));
  }
  void finish(const Result& result) { session_.finish(result); }

  void didSubmitRequest() { arm(watchdog_->preAuthorizationTimeoutNanoseconds(), Phase::preAuthorization); }

  void didProgress(const Progress& progress) {
    if (std::holds_alternative<Progress::AuthorizationBegan>(progress.value)) watchdog_->pause();
    if (std::holds_alternative<Progress::AuthorizationEnded>(progress.value)) {
      arm(watchdog_->postAuthorizationTimeoutNanoseconds(), Phase::postAuthorization);
    }
  }

 private:
  void arm(std::uint64_t nanoseconds, Phase phase) {
    watchdog_->armTimeout(nanoseconds, phase,
                          [self = shared_from_this()](Phase late) { self->finish(Result::timedOut(late)); });
  }

  const std::shared_ptr<VeskAppBundleXPCLaunchWatchdog> watchdog_;
  std::promise<Result> outcome_;
  VeskAppBundleXPCLaunchSession session_;
};

}  // namespace

VeskAppBundleXPCUpdateHelperLauncher::VeskAppBundleXPCUpdateHelperLauncher(
    std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnectionMaking> connectionFactory, std::string serviceName,
    std::uint64_t preAuthorizationTimeoutNanoseconds, std::uint64_t postAuthorizationTimeoutNanoseconds,
    std::shared_ptr<QuillonTimerScheduling> timers)
    : connectionFactory_(std::move(connectionFactory)),
      serviceName_(std::move(serviceName)),
      preAuthorizationTimeoutNanoseconds_(preAuthorizationTimeoutNanoseconds),
      postAuthorizationTimeoutNanoseconds_(postAuthorizationTimeoutNanoseconds),
      timers_(std::move(timers)) {}

VeskAppBundleReplacementLaunchResult VeskAppBundleXPCUpdateHelperLauncher::launchReplacement(
    const VeskAppBundleReplacementRequest& request,
    const VeskAppBundleInstallerLaunchProgressHandler& progressHandler) noexcept {
  const auto launch =
      std::make_shared<Launch>(preAuthorizationTimeoutNanoseconds_, postAuthorizationTimeoutNanoseconds_, timers_);
  const auto connection = connectionFactory_->make(
      serviceName_, [launch](const QuillonSystemError& error) { launch->finish(connectionFailure(error)); },
      [launch, progressHandler](const Progress& progress) {
        // The watchdog first: the caller's handler takes the time it takes.
        launch->didProgress(progress);
        progressHandler(progress);
      });
  if (!connection) {
    launch->finish(Result::helperUnavailable());
    return launch->outcome();
  }
  launch->setConnection(connection);
  connection->resume();
  const bool didSend = connection->launchReplacement(
      VeskAppBundleXPCReplacementMessage{request}.propertyList(), [launch] { launch->didSubmitRequest(); },
      [launch](const Result& result) { launch->finish(result); });
  if (!didSend) launch->finish(Result::helperUnavailable());
  // Destroying the connection, on return, waits for a progress handler that runs.
  return launch->outcome();
}

}  // namespace quillon
