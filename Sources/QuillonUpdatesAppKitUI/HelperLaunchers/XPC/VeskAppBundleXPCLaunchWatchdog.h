#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

#include "QuillonCore/Contracts/QuillonTimerScheduling.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleInstallerLaunchPhase.h"

namespace quillon {

/// Limits the time of one launch before and after the administrator dialog; the dialog itself has no limit.
///
/// One timer at most counts. Each step that takes its place raises a generation counter, and a timer that runs out asks
/// whether its own generation is still the latest: that, and not the cancellation, makes one that lost a race harmless.
///
/// | State    | armTimeout(0)  | armTimeout(n) | pause  | cancel   | own timer runs out          | older timer |
/// |----------|----------------|---------------|--------|----------|-----------------------------|-------------|
/// | idle     | idle           | armed         | idle   | finished | –                           | idle        |
/// | armed    | idle           | armed, anew   | idle   | finished | finished, the handler runs  | armed       |
/// | finished | finished       | finished      | finished | finished | finished, nothing happens | finished    |
///
/// A timeout of 0 means no limit here. The service's own budget (VeskAppBundleInstallerLaunchPhaseBudget) reads 0 as no
/// time at all: there it protects what runs with rights, here it only ends the host's patience.
///
/// From any thread. Always held by a std::shared_ptr; its timers hold it weakly.
class VeskAppBundleXPCLaunchWatchdog : public std::enable_shared_from_this<VeskAppBundleXPCLaunchWatchdog> {
 public:
  using TimeoutHandler = std::function<void(VeskAppBundleInstallerLaunchPhase)>;

  VeskAppBundleXPCLaunchWatchdog(std::uint64_t preAuthorizationTimeoutNanoseconds,
                                 std::uint64_t postAuthorizationTimeoutNanoseconds,
                                 std::shared_ptr<QuillonTimerScheduling> timers);

  [[nodiscard]] std::uint64_t preAuthorizationTimeoutNanoseconds() const noexcept {
    return preAuthorizationTimeoutNanoseconds_;
  }
  [[nodiscard]] std::uint64_t postAuthorizationTimeoutNanoseconds() const noexcept {
    return postAuthorizationTimeoutNanoseconds_;
  }

  /// Limits the time from here; `timeoutHandler` is told `phase`, on the timers' thread, when it runs out.
  void armTimeout(std::uint64_t nanoseconds, VeskAppBundleInstallerLaunchPhase phase, TimeoutHandler timeoutHandler);
  /// Takes the limit away. It can be armed again.
  void pause();
  /// Takes the limit away for good.
  void cancel();
  /// Whether the timer of `generation` may act; then the watchdog has finished, so that no other one may.
  [[nodiscard]] bool consumeTimeout(std::uint64_t generation);

 private:
  /// The timer of `generation`, running.
  [[nodiscard]] std::unique_ptr<QuillonTimer> startTimer(std::uint64_t generation, std::uint64_t nanoseconds,
                                                         VeskAppBundleInstallerLaunchPhase phase,
                                                         TimeoutHandler timeoutHandler);
  /// Keeps the timer of `generation` unless something has overtaken it; that cancels it.
  void keepTimer(std::uint64_t generation, std::unique_ptr<QuillonTimer> timer);

  std::mutex lock_;
  const std::uint64_t preAuthorizationTimeoutNanoseconds_;
  const std::uint64_t postAuthorizationTimeoutNanoseconds_;
  std::unique_ptr<QuillonTimer> timeoutTask_;  // guarded by lock_
  std::uint64_t generation_ = 0;               // guarded by lock_
  bool didFinish_ = false;                     // guarded by lock_
  const std::shared_ptr<QuillonTimerScheduling> timers_;
};

}  // namespace quillon
