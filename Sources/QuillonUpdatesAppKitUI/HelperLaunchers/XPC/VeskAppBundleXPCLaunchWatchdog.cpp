#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchWatchdog.h"

#include <utility>

namespace quillon {
namespace {

void cancelIfAny(const std::unique_ptr<QuillonTimer>& timer) noexcept {
  if (timer) timer->cancel();
}

}  // namespace

VeskAppBundleXPCLaunchWatchdog::VeskAppBundleXPCLaunchWatchdog(std::uint64_t preAuthorizationTimeoutNanoseconds,
                                                               std::uint64_t postAuthorizationTimeoutNanoseconds,
                                                               std::shared_ptr<QuillonTimerScheduling> timers)
    : preAuthorizationTimeoutNanoseconds_(preAuthorizationTimeoutNanoseconds),
      postAuthorizationTimeoutNanoseconds_(postAuthorizationTimeoutNanoseconds),
      timers_(std::move(timers)) {}

void VeskAppBundleXPCLaunchWatchdog::armTimeout(std::uint64_t nanoseconds, VeskAppBundleInstallerLaunchPhase phase,
                                                TimeoutHandler timeoutHandler) {
  std::unique_ptr<QuillonTimer> previous;
  std::uint64_t generation = 0;
  {
    const std::lock_guard guard(lock_);
    if (didFinish_) return;
    previous = std::move(timeoutTask_);
    generation = ++generation_;
  }
  cancelIfAny(previous);
  if (nanoseconds == 0) return;
  keepTimer(generation, startTimer(generation, nanoseconds, phase, std::move(timeoutHandler)));
}

std::unique_ptr<QuillonTimer> VeskAppBundleXPCLaunchWatchdog::startTimer(std::uint64_t generation,
                                                                         std::uint64_t nanoseconds,
                                                                         VeskAppBundleInstallerLaunchPhase phase,
                                                                         TimeoutHandler timeoutHandler) {
  return timers_->schedule(nanoseconds,
                           [weakSelf = weak_from_this(), generation, phase, handler = std::move(timeoutHandler)] {
                             const auto self = weakSelf.lock();
                             if (self && self->consumeTimeout(generation)) handler(phase);
                           });
}

void VeskAppBundleXPCLaunchWatchdog::keepTimer(std::uint64_t generation, std::unique_ptr<QuillonTimer> timer) {
  {
    const std::lock_guard guard(lock_);
    if (!didFinish_ && generation_ == generation) timeoutTask_ = std::move(timer);
  }
  cancelIfAny(timer);
}

void VeskAppBundleXPCLaunchWatchdog::pause() {
  std::unique_ptr<QuillonTimer> previous;
  {
    const std::lock_guard guard(lock_);
    previous = std::move(timeoutTask_);
    ++generation_;
  }
  cancelIfAny(previous);
}

void VeskAppBundleXPCLaunchWatchdog::cancel() {
  std::unique_ptr<QuillonTimer> previous;
  {
    const std::lock_guard guard(lock_);
    didFinish_ = true;
    previous = std::move(timeoutTask_);
    ++generation_;
  }
  cancelIfAny(previous);
}

bool VeskAppBundleXPCLaunchWatchdog::consumeTimeout(std::uint64_t generation) {
  // Destroyed after the lock is released, as everything that was handed in.
  std::unique_ptr<QuillonTimer> consumed;
  const std::lock_guard guard(lock_);
  if (didFinish_ || generation_ != generation) return false;
  didFinish_ = true;
  consumed = std::move(timeoutTask_);
  return true;
}

}  // namespace quillon
